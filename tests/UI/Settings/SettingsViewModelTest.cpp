#include "UI/Settings/SettingsViewModel.h"

#include <gmock/gmock.h>

#include <vector>

#include "UI/Settings/SettingsFixture.h"

namespace stowboard {
namespace {

using ::testing::ElementsAre;
using enum ModifierKeyOption;

AppSettings withHotKey(std::uint32_t keyCode, std::uint32_t modifiers) {
  AppSettings settings;
  settings.hotKey = {keyCode, modifiers};
  return settings;
}

TEST(SettingsViewModel, SplitsTheHotKeyForThePickers) {
  struct Row {
    std::uint32_t modifiers;
    ModifierKeyOption first, second;
  };
  for (const Row& row : std::vector<Row>{{0x300, command, shift},
                                         {0x1800, control, option},
                                         {0x800, option, none},
                                         {0, command, none},
                                         {0x400, command, none},
                                         {0x1B00, command, shift}}) {
    const SettingsFixture fixture(withHotKey(9, row.modifiers));
    EXPECT_EQ(fixture.viewModel->hotKeyModifier1(), row.first) << row.modifiers;
    EXPECT_EQ(fixture.viewModel->hotKeyModifier2(), row.second) << row.modifiers;
  }
  for (const KeyOption& key : {KeyOption{40, "K"}, {99, "F3"}, {118, "V"}})
    EXPECT_EQ(SettingsFixture(withHotKey(key.keyCode, 0x100)).viewModel->hotKeyKeyOption(), key);
}

TEST(SettingsViewModel, JoinsTheHotKeyFromThePickers) {
  SettingsFixture fixture;
  const auto joined = [&](ModifierKeyOption first, ModifierKeyOption second, KeyOption key) {
    fixture.viewModel->updateHotKeyComponents(first, second, key);
    return fixture.viewModel->hotKeyFullDisplay();
  };
  EXPECT_EQ(joined(none, none, {9, "V"}), "⌘ Command + V");
  EXPECT_EQ(joined(command, command, {9, "V"}), "⌘ Command + V");
  EXPECT_EQ(joined(none, control, {9, "V"}), "⌃ Control + V");
  EXPECT_EQ(joined(option, shift, {49, "Space"}), "⌥ Option + ⇧ Shift + Space");
  // A third modifier goes with the first change, a key that no picker offers stays.
  SettingsFixture rare(withHotKey(99, 0xB00));
  auto& viewModel = *rare.viewModel;
  viewModel.updateHotKeyComponents(viewModel.hotKeyModifier1(), viewModel.hotKeyModifier2(),
                                   viewModel.hotKeyKeyOption());
  EXPECT_EQ(rare.settings().hotKey, (HotKeyConfig{99, 0x300}));
}

TEST(SettingsViewModel, ChangesOneFieldAndLeavesTheOthers) {
  SettingsFixture fixture({50, PasteMode::copyOnly, {40, 0x300}, {"secret"}, {}, 0x1000});
  AppSettings expected = fixture.settings();
  EXPECT_EQ(fixture.viewModel->directPastePair(), DirectPasteModifierPair::commandOption);
  EXPECT_FALSE(fixture.viewModel->isDirectPaste());

  fixture.viewModel->setLanguage(AppLanguage::simplifiedChinese);
  expected.language = AppLanguage::simplifiedChinese;
  EXPECT_EQ(fixture.settings(), expected);
  for (const auto pair : allDirectPasteModifierPairs) {
    fixture.viewModel->setDirectPastePair(pair);
    expected.directPasteModifiers = carbonMask(pair);
    EXPECT_EQ(fixture.settings(), expected);
    EXPECT_EQ(fixture.viewModel->directPasteFullDisplay(), fullDisplayString(pair));
  }
  for (const auto& [asked, stored] : std::vector<std::pair<std::int64_t, std::int64_t>>{
           {5000, 1000}, {1000, 1000}, {2, 2}, {0, 1}, {INT64_MIN, 1}, {INT64_MAX, 1000}}) {
    fixture.viewModel->setMaxRecordsInt(asked);
    expected.maxRecords = stored;
    EXPECT_EQ(fixture.settings(), expected) << asked;
  }
  EXPECT_THAT(previews(fixture.appState->clips()), ElementsAre("three")) << "trimmed to 1";
}

}  // namespace
}  // namespace stowboard
