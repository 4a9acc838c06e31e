#include "Models/HotKeyConfig.h"

#include <gmock/gmock.h>

#include <set>

namespace stowboard {
namespace {

struct DisplayCase {
  HotKeyConfig config;
  const char* display;
  const char* full;
};

class HotKeyDisplayTest : public ::testing::TestWithParam<DisplayCase> {};

TEST_P(HotKeyDisplayTest, HasItsCompactAndItsFullForm) {
  EXPECT_EQ(GetParam().config.displayString(), GetParam().display);
  EXPECT_EQ(GetParam().config.fullDisplayString(), GetParam().full);
}

INSTANTIATE_TEST_SUITE_P(
    HotKeyConfig, HotKeyDisplayTest,
    ::testing::Values(
        DisplayCase{{9, 0x300}, "⇧⌘V", "⌘ Command + ⇧ Shift + V"},
        DisplayCase{{49, 0x1900}, "⌃⌥⌘Space", "⌘ Command + ⌃ Control + ⌥ Option + Space"},
        DisplayCase{{0, 0x1B00}, "⌃⌥⇧⌘A", "⌘ Command + ⌃ Control + ⌥ Option + ⇧ Shift + A"},
        DisplayCase{{30, 0x100}, "⌘Key 30", "⌘ Command + Key 30"}, DisplayCase{{99, 0}, "F3", "F3"},
        DisplayCase{{118, 0x4400}, "Key 118", "Key 118"}));

TEST(HotKeyConfig, NamesTheKeysOfItsTables) {
  EXPECT_EQ(HotKeyConfig::symbolName(36), "Return");
  EXPECT_EQ(HotKeyConfig::symbolName(76), "Enter");
  EXPECT_EQ(HotKeyConfig::symbolName(91), "Keypad8");
  EXPECT_EQ(HotKeyConfig::symbolName(50), "`");
  for (const std::uint32_t nameless : {48u, 118u, 123u, 90u, 0xffffffffu}) {
    EXPECT_EQ(HotKeyConfig::symbolName(nameless), std::nullopt) << nameless;
  }
}

TEST(HotKeyConfig, DigitsAreTheirKeysInTheMainRow) {
  for (int digit = 0; digit <= 9; ++digit) {
    const auto keyCode = HotKeyConfig::keyCodeForDigit(digit);
    ASSERT_TRUE(keyCode) << digit;
    EXPECT_EQ(HotKeyConfig::symbolName(*keyCode), std::to_string(digit));
  }
  EXPECT_EQ(HotKeyConfig::keyCodeForDigit(-1), std::nullopt);
  EXPECT_EQ(HotKeyConfig::keyCodeForDigit(10), std::nullopt);
}

TEST(KeyOption, OffersThirtyNineDifferentKeys) {
  std::set<std::uint32_t> codes;
  std::set<std::string_view> names;
  for (const KeyOption& option : KeyOption::allOptions()) {
    codes.insert(option.keyCode);
    names.insert(option.name);
  }
  EXPECT_EQ(codes.size(), 39u);
  EXPECT_EQ(names.size(), 39u);
}

TEST(DirectPasteModifierPair, IsFoundByItsExactMaskOnly) {
  for (const auto pair : allDirectPasteModifierPairs) {
    EXPECT_EQ(directPasteModifierPairFrom(carbonMask(pair)), pair) << id(pair);
  }
  for (const std::uint32_t other : {0x1000u, 0x1900u, 0u}) {
    EXPECT_EQ(directPasteModifierPairFrom(other), DirectPasteModifierPair::commandOption);
  }
  EXPECT_EQ(fullDisplayString(DirectPasteModifierPair::optionShift), "⌥ Option + ⇧ Shift + 1~9");
}

}  // namespace
}  // namespace stowboard
