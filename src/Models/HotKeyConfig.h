#pragma once

#include <cstdint>

namespace stowboard {

/// Bits of a modifier mask, in the encoding that settings files use on every platform.
struct ModifierMask {
  ModifierMask() = delete;

  static constexpr std::uint32_t command = 0x100;
  static constexpr std::uint32_t shift = 0x200;
  static constexpr std::uint32_t option = 0x800;
  static constexpr std::uint32_t control = 0x1000;
};

/// One global shortcut: a virtual key code (the layout-independent position of a key) and a
/// modifier mask.
struct HotKeyConfig {
  std::uint32_t keyCode = 0;
  std::uint32_t modifiers = 0;

  /// ⇧⌘V.
  static const HotKeyConfig defaultConfig;

  friend bool operator==(const HotKeyConfig&, const HotKeyConfig&) = default;
};

inline constexpr HotKeyConfig HotKeyConfig::defaultConfig{
    9, ModifierMask::command | ModifierMask::shift};

}  // namespace stowboard
