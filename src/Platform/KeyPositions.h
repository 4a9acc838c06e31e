#pragma once

#include <cstdint>
#include <optional>

namespace stowboard {

/// The XKB key code of the key at the position that a virtual key code names (see HotKeyConfig);
/// absent when there is no such key. X servers and Wayland compositors that read their keyboards
/// through evdev have the same numbers: the kernel's code of the key plus 8.
std::optional<std::uint8_t> xkbKeyCode(std::uint32_t virtualKeyCode);

}  // namespace stowboard
