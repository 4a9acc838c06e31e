#pragma once

#include <xcb/xcb.h>
// xkb.h names a field after a word of C++.
#define explicit explicit_
#include <xcb/xkb.h>
#undef explicit

#include <array>
#include <bitset>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <utility>
#include <vector>

namespace stowboard {

/// A set of X key codes.
using X11KeySet = std::bitset<256>;

/// The set as the protocol writes it: 32 bytes, the first key in the lowest bit.
X11KeySet x11KeySet(const std::uint8_t* bits);
/// In the order of their codes.
std::vector<xcb_keycode_t> keysOf(const X11KeySet& set);

/// The keyboard as the server has it at one moment: the symbols on each key, and the modifiers that
/// it sets. A value; reading it waits for the server.
class X11KeyboardMap {
 public:
  /// For each key, what it gives without Shift: one symbol for each group of the layout.
  using Symbols = std::array<std::vector<xcb_keysym_t>, 256>;
  /// For each key, the bits of a core event's state that it sets; 0 for ordinary keys.
  using Modifiers = std::array<std::uint8_t, 256>;

  X11KeyboardMap() = default;
  X11KeyboardMap(Symbols symbols, const Modifiers& modifiers)
      : symbols_(std::move(symbols)), modifiers_(modifiers) {}
  static X11KeyboardMap read(xcb_connection_t* connection);

  std::uint8_t modifiers(xcb_keycode_t key) const { return modifiers_[key]; }
  /// Whether the key sets its modifiers for as long as it is held, as lock keys do not.
  bool isHoldModifier(xcb_keycode_t key) const;
  /// The keys that hold exactly this modifier, left before right as the symbols come.
  std::vector<xcb_keycode_t> keysHolding(std::uint8_t modifier) const;

  /// The X modifiers of a mask in the encoding of HotKeyConfig: Command is Super, Option is Alt,
  /// whatever bits carry them here. Absent when one of them is on no key.
  std::optional<std::uint8_t> modifiersForMask(std::uint32_t mask) const;
  /// Caps Lock, Num Lock and Scroll Lock, as far as they are modifiers here.
  std::uint8_t lockModifiers() const;

  /// A key that gives the symbol without Shift: in the given group if there is one, else in the
  /// first group where there is.
  std::optional<xcb_keycode_t> keyFor(xcb_keysym_t symbol, std::size_t group) const;

 private:
  bool hasSymbol(xcb_keycode_t key, xcb_keysym_t symbol) const;
  /// The bit that the first of these symbols sets; 0 when none is on a modifier key.
  std::uint8_t modifierOf(std::initializer_list<xcb_keysym_t> symbols) const;

  Symbols symbols_;
  Modifiers modifiers_{};
};

}  // namespace stowboard
