#pragma once

#include <xcb/xcb.h>
#include <xcb/xinput.h>

#include <cstdint>
#include <optional>
#include <vector>

#include "Platform/X11/Keys/X11Keys.h"
#include "Platform/X11/Keys/X11PastePlan.h"
#include "Platform/X11/X11Connection.h"

namespace stowboard {

/// Types through XTest on a connection of someone else's. One thread; its calls wait for the
/// server.
class X11KeyInjector {
 public:
  /// Whether the server lets programs type at all.
  static bool isPossible(xcb_connection_t* connection);

  /// Reads the keyboard. The connection must outlive the injector.
  explicit X11KeyInjector(xcb_connection_t* connection);

  /// Reads it again: the layout may have changed.
  void readKeyboard();

  /// A key that gives the symbol, in the group of the layout that is in force where there is one.
  std::optional<xcb_keycode_t> keyFor(xcb_keysym_t symbol) const;

  /// Has the application with the focus see exactly this stroke, whatever is held.
  void send(const KeyStroke& stroke);

  /// Whether a person still holds keys that were pressed again on their behalf. What is not held
  /// any more is released, also where only the device that programs type on still has it down.
  bool letGo();
  /// Releases all of them, held or not.
  void releaseRestored() { release(X11KeySet(restored_)); }

 private:
  struct Keyboards {
    std::vector<xcb_input_device_id_t> ofPersons;
    std::vector<xcb_input_device_id_t> ofPrograms;
  };

  struct Groups {
    std::uint8_t effective = 0;
    std::uint8_t locked = 0;
  };

  Keyboards findKeyboards() const;
  X11KeySet readDown() const;
  X11KeySet readDown(const std::vector<xcb_input_device_id_t>& devices) const;
  HeldKeys readHeld() const;
  Groups readGroups() const;
  void keepGroup();
  void release(const X11KeySet& gone);
  void type(const std::vector<KeyStep>& steps);

  xcb_connection_t* const connection_;
  X11KeyboardMap keyboard_;
  Keyboards keyboards_;
  Groups groups_;
  /// Down on the device that programs type on for as long as a person holds them.
  X11KeySet restored_;
};

}  // namespace stowboard
