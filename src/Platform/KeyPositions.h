#pragma once

#include <cstdint>
#include <optional>

#include "Platform/KeyEventPoster.h"

namespace stowboard {

/// The XKB key code of the key at the position that a virtual key code names (see HotKeyConfig);
/// absent when there is no such key. X servers and Wayland compositors that read their keyboards
/// through evdev have the same numbers: the kernel's code of the key plus 8.
std::optional<std::uint8_t> xkbKeyCode(std::uint32_t virtualKeyCode);

/// The virtual key code of the letter V, which with Command stands for a paste.
inline constexpr std::uint32_t virtualKeyOfV = 9;

/// Makes events of the keys that there are.
class KeyPositionSource final : public KeyEventPoster::Source {
 public:
  std::optional<KeyEvent> createKeyEvent(std::uint32_t keyCode, bool isKeyDown) override {
    if (!xkbKeyCode(keyCode)) return std::nullopt;
    return KeyEvent{keyCode, isKeyDown, KeyEventFlags::none};
  }
};

}  // namespace stowboard
