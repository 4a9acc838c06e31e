#include "Models/HotKeyConfig.h"

#include <fmt/format.h>

#include <algorithm>

namespace stowboard {

namespace {

struct NamedModifier {
  std::uint32_t mask;
  std::string_view symbol;
  std::string_view label;
  /// On the keyboards of PCs.
  std::string_view keyboardName;
};

constexpr NamedModifier command{ModifierMask::command, "⌘", "⌘ Command", "Super"};
constexpr NamedModifier option{ModifierMask::option, "⌥", "⌥ Option", "Alt"};
constexpr NamedModifier shift{ModifierMask::shift, "⇧", "⇧ Shift", "Shift"};
constexpr NamedModifier control{ModifierMask::control, "⌃", "⌃ Control", "Ctrl"};

// The two forms list the modifiers in different orders.
constexpr std::array compactOrder{control, option, shift, command};
constexpr std::array fullOrder{command, control, option, shift};

constexpr std::array keyOptions = std::to_array<KeyOption>({
    {0, "A"},  {11, "B"}, {8, "C"},  {2, "D"},  {14, "E"},     {3, "F"},       {5, "G"},  {4, "H"},
    {34, "I"}, {38, "J"}, {40, "K"}, {37, "L"}, {46, "M"},     {45, "N"},      {31, "O"}, {35, "P"},
    {12, "Q"}, {15, "R"}, {1, "S"},  {17, "T"}, {32, "U"},     {9, "V"},       {13, "W"}, {7, "X"},
    {16, "Y"}, {6, "Z"},  {29, "0"}, {18, "1"}, {19, "2"},     {20, "3"},      {21, "4"}, {23, "5"},
    {22, "6"}, {26, "7"}, {28, "8"}, {25, "9"}, {49, "Space"}, {36, "Return"}, {50, "`"},
});

constexpr std::array otherKeys = std::to_array<KeyOption>({
    {51, "Delete"},  {53, "Escape"},  {55, "Cmd"},        {56, "Shift"},       {57, "CapsLock"},
    {58, "Option"},  {59, "Control"}, {60, "RightShift"}, {61, "RightOption"}, {62, "RightControl"},
    {65, "Keypad."}, {67, "Keypad*"}, {69, "Keypad+"},    {71, "KeypadClear"}, {75, "Keypad/"},
    {76, "Enter"},   {78, "Keypad-"}, {81, "Keypad="},    {82, "Keypad0"},     {83, "Keypad1"},
    {84, "Keypad2"}, {85, "Keypad3"}, {86, "Keypad4"},    {87, "Keypad5"},     {88, "Keypad6"},
    {89, "Keypad7"}, {91, "Keypad8"}, {92, "Keypad9"},    {122, "F1"},         {120, "F2"},
    {99, "F3"},      {96, "F5"},      {97, "F6"},         {98, "F7"},          {100, "F8"},
    {101, "F9"},     {109, "F10"},    {103, "F11"},       {111, "F12"},
});

struct PairFacts {
  std::string_view id;
  std::uint32_t mask;
  std::string_view symbols;
  std::string_view display;
};

// In the order of the enumeration.
constexpr std::array pairs = std::to_array<PairFacts>({
    {"⌘ + ⌥ (Command + Option)", 0x900, "⌘⌥", "⌘ Command + ⌥ Option"},
    {"⌘ + ⌃ (Command + Control)", 0x1100, "⌘⌃", "⌘ Command + ⌃ Control"},
    {"⌃ + ⌥ (Control + Option)", 0x1800, "⌃⌥", "⌃ Control + ⌥ Option"},
    {"⌘ + ⇧ (Command + Shift)", 0x300, "⌘⇧", "⌘ Command + ⇧ Shift"},
    {"⌥ + ⇧ (Option + Shift)", 0xA00, "⌥⇧", "⌥ Option + ⇧ Shift"},
    {"⌃ + ⇧ (Control + Shift)", 0x1200, "⌃⇧", "⌃ Control + ⇧ Shift"},
});

const PairFacts& facts(DirectPasteModifierPair pair) {
  return pairs[static_cast<std::size_t>(pair)];
}

std::optional<std::string_view> nameIn(std::span<const KeyOption> keys, std::uint32_t keyCode) {
  const auto found = std::ranges::find(keys, keyCode, &KeyOption::keyCode);
  return found == keys.end() ? std::nullopt : std::optional(found->name);
}

std::string nameToShow(std::uint32_t keyCode) {
  const auto name = HotKeyConfig::symbolName(keyCode);
  return name ? std::string(*name) : fmt::format("Key {}", keyCode);
}

}  // namespace

std::string HotKeyConfig::displayString() const {
  std::string display;
  for (const NamedModifier& modifier : compactOrder) {
    if (modifiers & modifier.mask) display += modifier.symbol;
  }
  return display + nameToShow(keyCode);
}

std::string HotKeyConfig::fullDisplayString() const {
  std::string display;
  for (const NamedModifier& modifier : fullOrder) {
    if (modifiers & modifier.mask) display += fmt::format("{} + ", modifier.label);
  }
  return display + nameToShow(keyCode);
}

std::string HotKeyConfig::keyboardString() const {
  const std::string names = keyboardNames(modifiers);
  return names.empty() ? nameToShow(keyCode) : fmt::format("{} + {}", names, nameToShow(keyCode));
}

std::string keyboardNames(std::uint32_t modifiers) {
  std::string names;
  for (const NamedModifier& modifier : fullOrder) {
    if (!(modifiers & modifier.mask)) continue;
    if (!names.empty()) names += " + ";
    names += modifier.keyboardName;
  }
  return names;
}

std::optional<std::string_view> HotKeyConfig::symbolName(std::uint32_t keyCode) {
  const auto offered = nameIn(keyOptions, keyCode);
  return offered ? offered : nameIn(otherKeys, keyCode);
}

std::optional<std::uint32_t> HotKeyConfig::keyCodeForDigit(int digit) {
  constexpr std::array<std::uint32_t, 10> digitRow{29, 18, 19, 20, 21, 23, 22, 26, 28, 25};
  if (digit < 0 || digit > 9) return std::nullopt;
  return digitRow[static_cast<std::size_t>(digit)];
}

std::string_view id(ModifierKeyOption modifier) {
  switch (modifier) {
    case ModifierKeyOption::command:
      return command.label;
    case ModifierKeyOption::option:
      return option.label;
    case ModifierKeyOption::shift:
      return shift.label;
    case ModifierKeyOption::control:
      return control.label;
    case ModifierKeyOption::none:
      break;
  }
  return "None";
}

std::uint32_t carbonMask(ModifierKeyOption modifier) {
  switch (modifier) {
    case ModifierKeyOption::command:
      return ModifierMask::command;
    case ModifierKeyOption::option:
      return ModifierMask::option;
    case ModifierKeyOption::shift:
      return ModifierMask::shift;
    case ModifierKeyOption::control:
      return ModifierMask::control;
    case ModifierKeyOption::none:
      break;
  }
  return 0;
}

std::span<const KeyOption> KeyOption::allOptions() { return keyOptions; }

std::string_view id(DirectPasteModifierPair pair) { return facts(pair).id; }
std::uint32_t carbonMask(DirectPasteModifierPair pair) { return facts(pair).mask; }
std::string_view symbolString(DirectPasteModifierPair pair) { return facts(pair).symbols; }
std::string_view modifierDisplayString(DirectPasteModifierPair pair) { return facts(pair).display; }

std::string fullDisplayString(DirectPasteModifierPair pair) {
  return fmt::format("{} + 1~9", modifierDisplayString(pair));
}

std::string keyboardString(DirectPasteModifierPair pair) {
  return fmt::format("{} + 1~9", keyboardNames(carbonMask(pair)));
}

DirectPasteModifierPair directPasteModifierPairFrom(std::uint32_t mask) {
  const auto found =
      std::ranges::find(allDirectPasteModifierPairs, mask,
                        [](DirectPasteModifierPair pair) { return carbonMask(pair); });
  return found == allDirectPasteModifierPairs.end() ? DirectPasteModifierPair::commandOption
                                                    : *found;
}

}  // namespace stowboard
