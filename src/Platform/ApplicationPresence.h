#pragma once

#include <functional>
#include <memory>
#include <string>

#include "Platform/RunLoop.h"

namespace stowboard {

/// The program's place in its user's session: as long as one program has it, no other does, and
/// what launchers and key bindings ask of the program reaches this one. Main thread.
class ApplicationPresence {
 public:
  /// What others can ask for. Each runs on a later turn of the main thread, after its caller has
  /// been answered; empty ones do nothing.
  struct Actions {
    /// What a second launch asks for: to see the program, open already or not.
    std::function<void()> activate;
    /// What the hot key does, which also hides.
    std::function<void()> showHistory;
    std::function<void()> openSettings;
    std::function<void()> quit;
    /// 1 to 9.
    std::function<void(int digit)> paste;
  };

  struct Claim {
    enum class Outcome {
      /// This is the only one; `presence` holds the place until it is destroyed.
      owned,
      /// Another one runs. It was asked to show itself, and has answered.
      activatedOther,
      /// Another one runs, but did not answer in time, or refused.
      otherFailed,
      /// There is no session bus, or it does not give out the place.
      unavailable,
    };

    Outcome outcome = Outcome::unavailable;
    /// Of the last two: why, in the system's or the bus's own words.
    std::string reason;
    std::unique_ptr<ApplicationPresence> presence;
  };

  virtual ~ApplicationPresence() = default;

  /// Begins to answer, first to the calls that have come since the place was claimed. Called once,
  /// when there is an application object; `runLoop` must outlive this.
  virtual void serve(RunLoop& runLoop, Actions actions) = 0;
};

}  // namespace stowboard
