#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

#include "Base/SerialQueue.h"
#include "Platform/ApplicationIdentifying.h"
#include "Platform/KeyEventPoster.h"
#include "Platform/RunLoop.h"
#include "Platform/X11/X11MainConnection.h"

namespace stowboard {

/// Types through XTest, on a thread and a connection of its own that last as long as there is
/// something to type, or a key to be watched that was pressed again on the user's behalf.
///
/// A key-down is sent as a whole stroke, and its key-up adds nothing, so that no key is ever left
/// down. Command with V becomes the chord that the application in front pastes on (X11PastePlan.h);
/// Command with another key is Control with it.
///
/// Before it types, it waits for the activation under way, longestWait at most: until the window
/// that is awaited is in front with the input focus, or, when none is, any window that is not ours.
class X11KeyEventPoster final : public KeyEventPoster {
 public:
  static constexpr std::chrono::milliseconds longestWait{150};
  static constexpr std::chrono::milliseconds longestPublishing{500};

  /// What the poster asks of the rest of the program.
  struct Surroundings {
    /// The window whose activation is under way, 0 for none. Called on the main thread.
    std::function<std::uint64_t()> awaitedWindow = [] { return std::uint64_t{0}; };
    /// Offers the clipboard's content as the primary selection too, for targets that paste that.
    /// Called on the main thread, before the stroke.
    std::function<void()> offerPrimary = [] {};
    /// Calls back, on any thread, once other programs are given what was written and offered
    /// before; a paste's stroke waits for that, longestPublishing at most. Called on the main
    /// thread.
    std::function<void(std::function<void()> done)> whenPublished = [](const auto& done) {
      done();
    };
  };

  /// Types on the display of the connection. Null when its server does not let programs type.
  /// `loop` and `applications` must outlive the poster. Main thread.
  static std::unique_ptr<X11KeyEventPoster> create(const X11MainConnection& connection,
                                                   RunLoop& loop,
                                                   const ApplicationIdentifying& applications,
                                                   Surroundings surroundings);
  /// What has not been sent yet never is. No key stays down that was pressed for somebody.
  ~X11KeyEventPoster() override;

  std::unique_ptr<KeyEventPoster::Source> createSource() override;
  void post(const KeyEvent& event) override;
  void whenSent(std::function<void()> done) override;

 private:
  class Typing;

  X11KeyEventPoster(RunLoop& loop, std::unique_ptr<Typing> typing,
                    std::function<std::uint64_t()> awaitedWindow);
  /// Runs the task on the thread; it tells whether keys have to be watched from now on.
  void submit(std::function<bool()> task);
  void watchLater();

  RunLoop& loop_;
  bool isWatching_ = false;
  const std::unique_ptr<Typing> typing_;
  const std::function<std::uint64_t()> awaitedWindow_;
  const std::shared_ptr<X11KeyEventPoster*> self_ = std::make_shared<X11KeyEventPoster*>(this);
  // Ends first: its tasks use the rest.
  SerialQueue queue_{"stowboard.keys"};
};

}  // namespace stowboard
