#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace stowboard {

/// Flags of a key event.
struct KeyEventFlags {
  KeyEventFlags() = delete;

  static constexpr std::uint64_t none = 0;
  static constexpr std::uint64_t command = 0x100000;
};

/// One press or release of a key, as the receiving application is to see it.
struct KeyEvent {
  /// Virtual key code, as in HotKeyConfig.
  std::uint32_t keyCode = 0;
  bool isKeyDown = false;
  /// The modifiers that go with it, whatever the user holds.
  std::uint64_t flags = KeyEventFlags::none;

  friend bool operator==(const KeyEvent&, const KeyEvent&) = default;
};

/// Sends key events to the application in front. Main thread; nothing here waits.
class KeyEventPoster {
 public:
  /// What events are made from. Destroying it does not recall what was posted.
  class Source {
   public:
    virtual ~Source() = default;
    /// Absent when the event cannot be made (a key that does not exist).
    virtual std::optional<KeyEvent> createKeyEvent(std::uint32_t keyCode, bool isKeyDown) = 0;
  };

  virtual ~KeyEventPoster() = default;

  /// Null when the system has no way to send key events.
  virtual std::unique_ptr<Source> createSource() = 0;

  /// Sends the event after those posted before. Command with the key of the letter V is the
  /// target's own paste chord, whatever that is there. What the user holds is lifted for it and put
  /// back; no modifier stays stuck. An activation that is under way is waited for, within a short
  /// bound.
  virtual void post(const KeyEvent& event) = 0;

  /// Calls `done` on the main loop, once what was posted before has been sent, or
  /// has proved impossible to send. Never, when the poster is destroyed first.
  virtual void whenSent(std::function<void()> done) = 0;
};

}  // namespace stowboard
