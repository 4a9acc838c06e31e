#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "Platform/Bundle.h"
#include "Platform/RunLoop.h"

namespace stowboard {

/// The program's name on the session bus: it makes the program the only one of its user's session,
/// and takes what launchers and key bindings ask of it by org.freedesktop.Application (Desktop
/// Entry standard, "D-Bus Activation"). The bus name is the application id, the object path
/// the same with slashes for dots.
///
/// Main thread. It needs no toolkit until serve(), and nothing waits once claim() has returned.
class DBusApplication {
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
      /// This is the only one; `application` holds the name until it is destroyed.
      owned,
      /// Another one runs. It was asked to show itself, and has answered.
      activatedOther,
      /// Another one runs, but did not answer in time, or refused.
      otherFailed,
      /// There is no session bus, or it does not give out the name.
      unavailable,
    };

    Outcome outcome = Outcome::unavailable;
    /// Of the last two: why, in the system's or the bus's own words.
    std::string reason;
    std::unique_ptr<DBusApplication> application;
  };

  /// Takes the application id as a name on the session bus, or activates the program that has it,
  /// passing on the launcher's token from the environment. Waits, but no longer than `bound`.
  static Claim claim(const Bundle& bundle, std::chrono::milliseconds bound);

  ~DBusApplication();
  DBusApplication(const DBusApplication&) = delete;
  DBusApplication& operator=(const DBusApplication&) = delete;

  /// Begins to answer, first to the calls that have come since claim(). Called once, when there is
  /// an application object; `runLoop` must outlive this. Should the bus go away, the program runs
  /// on without it.
  void serve(RunLoop& runLoop, Actions actions);

 private:
  class Connection;
  class Service;

  explicit DBusApplication(std::unique_ptr<Connection> connection);

  const std::unique_ptr<Connection> connection_;
  std::unique_ptr<Service> service_;
};

}  // namespace stowboard
