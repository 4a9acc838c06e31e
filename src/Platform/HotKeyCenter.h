#pragma once

#include <cstdint>
#include <functional>

#include "Models/HotKeyConfig.h"

namespace stowboard {

/// Who registered a hot key: a four-character code for the program, and a number of its own.
struct HotKeyIdentity {
  std::uint32_t signature = 0;
  std::uint32_t id = 0;

  friend bool operator==(const HotKeyIdentity&, const HotKeyIdentity&) = default;
};

/// The system's global keyboard shortcuts. Main thread.
class HotKeyCenter {
 public:
  /// Names one registration; 0 is none.
  using Reference = std::uint64_t;
  using Handler = std::function<void(const HotKeyIdentity&)>;

  /// 0 is success; other values are the system's own error numbers.
  using Status = int;
  static constexpr Status noError = 0;

  struct Registration {
    Status status = noError;
    Reference reference = 0;
  };

  virtual ~HotKeyCenter() = default;

  /// Sets the one handler of every hot key press of this process; called on the main thread, once a
  /// press (not for the repeats of a key that is held, not for releases), whatever application is
  /// in front. Installed once.
  virtual Status installEventHandler(Handler handler) = 0;

  /// Takes the combination for this program, whatever lock keys are on and whatever the keyboard
  /// layout. Refused, with the system's status, when another program holds it, when the key does
  /// not exist on this keyboard, or when the system has no such facility.
  virtual Registration registerHotKey(const HotKeyConfig& config,
                                      const HotKeyIdentity& identity) = 0;

  /// Gives the combination back; unknown references are ignored.
  virtual void unregisterHotKey(Reference reference) = 0;

  /// For the handler of a press that opens a window: what is typed from the press on waits, and
  /// goes to whatever window has the focus when releaseTyping() is called, after 250 ms at the
  /// latest, even if this program hangs. Does nothing on a system without a means for that.
  virtual void holdTyping() {}
  /// Does nothing while nothing is held.
  virtual void releaseTyping() {}

  /// For a press that came to a window of this program after all, as to an open menu, which has the
  /// whole keyboard: treats it as one of the system's. The key is an XKB key code (KeyPositions.h),
  /// the modifiers are a mask as in HotKeyConfig. False when no hot key of ours is such a
  /// combination, or the system lets no window keep it.
  virtual bool pressInWindow(std::uint32_t /*xkbKey*/, std::uint32_t /*modifiers*/) {
    return false;
  }
};

}  // namespace stowboard
