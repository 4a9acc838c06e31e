#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

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

  /// Compact form, for instance ⇧⌘V.
  std::string displayString() const;
  /// Spelled-out form, for instance ⌘ Command + ⇧ Shift + V.
  std::string fullDisplayString() const;

  /// In the words that keyboards here bear, for instance Super + Shift + V.
  std::string keyboardString() const;

  /// The name of a key; absent for the keys that have none.
  static std::optional<std::string_view> symbolName(std::uint32_t keyCode);
  /// The key of a digit, 0 to 9, in the main row of the keyboard.
  static std::optional<std::uint32_t> keyCodeForDigit(int digit);

  friend bool operator==(const HotKeyConfig&, const HotKeyConfig&) = default;
};

inline constexpr HotKeyConfig HotKeyConfig::defaultConfig{
    9, ModifierMask::command | ModifierMask::shift};

/// What keyboards here call the modifiers of a mask, for instance "Super + Shift"; empty for none.
std::string keyboardNames(std::uint32_t modifiers);

/// One modifier key, or none, as a picker offers it.
enum class ModifierKeyOption { command, option, shift, control, none };

inline constexpr std::array allModifierKeyOptions{
    ModifierKeyOption::command, ModifierKeyOption::option, ModifierKeyOption::shift,
    ModifierKeyOption::control, ModifierKeyOption::none};

/// The label in pickers, for instance "⌘ Command".
std::string_view id(ModifierKeyOption option);
std::uint32_t carbonMask(ModifierKeyOption option);

/// A key that can be chosen as the main key of a shortcut.
struct KeyOption {
  std::uint32_t keyCode = 0;
  std::string_view name;

  /// All that a picker offers, in its order.
  static std::span<const KeyOption> allOptions();

  friend bool operator==(const KeyOption&, const KeyOption&) = default;
};

/// The modifier pairs offered for the direct-paste shortcuts.
enum class DirectPasteModifierPair {
  commandOption,
  commandControl,
  controlOption,
  commandShift,
  optionShift,
  controlShift,
};

inline constexpr std::array allDirectPasteModifierPairs{
    DirectPasteModifierPair::commandOption, DirectPasteModifierPair::commandControl,
    DirectPasteModifierPair::controlOption, DirectPasteModifierPair::commandShift,
    DirectPasteModifierPair::optionShift,   DirectPasteModifierPair::controlShift};

/// The label in pickers, for instance "⌘ + ⌥ (Command + Option)".
std::string_view id(DirectPasteModifierPair pair);
std::uint32_t carbonMask(DirectPasteModifierPair pair);
/// For instance "⌘⌥".
std::string_view symbolString(DirectPasteModifierPair pair);
/// For instance "⌘ Command + ⌥ Option".
std::string_view modifierDisplayString(DirectPasteModifierPair pair);
/// The modifiers with the digits, for instance "⌘ Command + ⌥ Option + 1~9".
std::string fullDisplayString(DirectPasteModifierPair pair);
/// In the words that keyboards here bear, for instance "Super + Alt + 1~9".
std::string keyboardString(DirectPasteModifierPair pair);
/// The pair with exactly this mask; `commandOption` when there is none.
DirectPasteModifierPair directPasteModifierPairFrom(std::uint32_t carbonMask);

}  // namespace stowboard
