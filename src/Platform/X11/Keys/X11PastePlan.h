#pragma once

#include <xcb/xcb.h>

#include <vector>

#include "Platform/X11/Keys/X11Keys.h"

namespace stowboard {

/// A key with the modifiers that it is to be seen with.
struct KeyStroke {
  xcb_keycode_t key = 0;
  bool control = false;
  bool shift = false;
};

/// The keys that are down when a stroke is to be sent.
struct HeldKeys {
  /// For applications, whoever holds them.
  X11KeySet down;
  /// On the keyboards that people type on.
  X11KeySet byPerson;
  /// On the device that programs type on.
  X11KeySet byPrograms;
};

struct KeyStep {
  xcb_keycode_t key = 0;
  bool isPress = false;

  friend bool operator==(const KeyStep&, const KeyStep&) = default;
};

/// Presses and releases that have the target see exactly one stroke.
struct StrokePlan {
  std::vector<KeyStep> steps;
  /// What was lifted and is pressed again on behalf of a person: it has to be released should the
  /// person have let go of it meanwhile.
  X11KeySet restoredForPerson;
};

/// Ordinary keys are lifted for good, and first, while the modifiers are still down: this ends the
/// keyboard grab that the press of a hot key made, so that what follows reaches the target, and
/// the key that is still held does not repeat into it. `alsoLifted` are lifted in any case, since
/// they may have gone down after `held` was read.
///
/// Modifiers that do not belong to the stroke are lifted and pressed again afterwards. Both happens
/// behind a Control key that is pressed before and released after, because programs and window
/// managers take a Super or Alt that goes up or down alone for a wish to see a menu. Lock keys are
/// left alone. A modifier that nobody holds is stuck, and is lifted only.
StrokePlan planStroke(const KeyStroke& stroke, const HeldKeys& held, const X11KeyboardMap& keyboard,
                      const X11KeySet& alsoLifted);

/// Releases modifiers that are down for applications though nobody holds them, behind a Control key
/// as above.
std::vector<KeyStep> planRelease(const X11KeySet& keys, const X11KeySet& down,
                                 const X11KeyboardMap& keyboard);

}  // namespace stowboard
