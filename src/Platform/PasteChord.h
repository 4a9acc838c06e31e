#pragma once

#include <string_view>

namespace stowboard {

/// What a target understands as paste.
enum class PasteChord { controlV, controlShiftV, shiftInsert };

/// Terminals paste on Control-Shift-V. xterm and those that follow it take Control-V for a
/// character and know Shift-Insert only, with the primary selection. So does every program where
/// no key gives a V: a layout without Latin letters.
PasteChord pasteChord(std::string_view windowClass, bool isTerminal, bool hasKeyForV);

}  // namespace stowboard
