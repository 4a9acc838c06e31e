#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>

#include "Platform/HotKeyCenter.h"
#include "Platform/X11/Keys/X11KeyboardHold.h"
#include "Platform/X11/Keys/X11Keys.h"
#include "Platform/X11/X11MainConnection.h"

namespace stowboard {

/// Global hot keys on an X11 session, as passive grabs of physical keys (XGrabKey): they name
/// positions on the keyboard, so no layout changes them, and they work with Caps Lock, Num Lock and
/// Scroll Lock on or off. They follow the keyboard when another modifier comes to carry Super, Alt
/// or Num Lock.
///
/// A combination may be registered several times: the registration that has lasted longest gets
/// the presses.
///
/// Between a press and the release of its key the server sends the keyboard to this program alone.
/// That ends as well when the key is released on behalf of the user (XTest). What is typed can be
/// held beyond that (X11KeyboardHold).
///
/// Registering waits for one round trip to the server.
class X11HotKeys final : public HotKeyCenter {
 public:
  /// Refusals besides the X server's own error numbers, which are positive: BadAccess, 10, is that
  /// of a combination which another program holds.
  static constexpr Status noSuchKey = -1;
  static constexpr Status noSuchModifier = -2;
  static constexpr Status notConnected = -3;

  /// The connection has no other use, if `others` is to hold what is typed: while it does, replies
  /// on the former wait. `others` is one that anybody may use.
  explicit X11HotKeys(std::shared_ptr<X11MainConnection> connection,
                      std::shared_ptr<X11MainConnection> others = nullptr);
  ~X11HotKeys() override;

  Status installEventHandler(Handler handler) override;
  Registration registerHotKey(const HotKeyConfig& config, const HotKeyIdentity& identity) override;
  void unregisterHotKey(Reference reference) override;
  void holdTyping() override;
  void releaseTyping() override;
  bool pressInWindow(std::uint32_t xkbKey, std::uint32_t modifiers) override;

 private:
  /// A key with the modifiers held for it, lock keys aside.
  struct Chord {
    xcb_keycode_t key = 0;
    std::uint8_t modifiers = 0;
    friend bool operator==(const Chord&, const Chord&) = default;
  };
  struct HotKey {
    HotKeyConfig config;
    HotKeyIdentity identity;
    /// Absent while the keyboard cannot give it, or another program has taken it since.
    std::optional<Chord> chord;
  };

  xcb_connection_t* xcb() const { return connection_->xcb(); }
  Status resolve(const HotKeyConfig& config, Chord& chord) const;
  Status grab(const Chord& chord);
  void ungrab(const Chord& chord);
  Status take(HotKey& hotKey);
  bool isTaken(const Chord& chord) const;
  bool handle(const xcb_generic_event_t& event);
  void handlePress(const xcb_key_press_event_t& press);
  void deliver(const HotKeyIdentity& identity) const;
  void handleRelease(const xcb_key_release_event_t& release);
  void forgetReleasedKeys();
  void handleLateRelease(const xcb_ge_generic_event_t& event);
  void setReleaseEvents(bool areWanted);
  void followKeyboard();
  void ungrabAll();
  void takeAllAnew();

  const std::shared_ptr<X11MainConnection> connection_;
  /// For questions that must not wait for the end of a hold.
  const std::shared_ptr<X11MainConnection> asking_;
  const std::unique_ptr<X11KeyboardHold> hold_;
  X11KeyboardMap keyboard_;
  Handler handler_;
  std::map<Reference, HotKey> hotKeys_;
  Reference lastReference_ = 0;
  /// Keys pressed since the keyboard came to us, so that their repeats are told from presses.
  X11KeySet pressed_;
  /// The key whose release gives the keyboard back.
  xcb_keycode_t grabbingKey_ = 0;
  int firstXkbEvent_ = -1;
  /// XInput's number; 0 where the server has none.
  std::uint8_t inputExtension_ = 0;
  const X11MainConnection::Subscription subscription_;
};

}  // namespace stowboard
