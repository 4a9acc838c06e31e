#include "Utils/HelpGuide.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace stowboard {
namespace {

std::string guideFile(const std::string& name) {
  std::ifstream file(std::filesystem::path(STOWBOARD_HELP_GUIDES) / name);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string replaceAll(std::string text, std::string_view from, std::string_view to) {
  for (auto at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
  return text;
}

struct Language {
  AppLanguage language;
  std::string guide;
  std::string fileName;
};

class HelpGuideTest : public ::testing::TestWithParam<Language> {};

// The files hold the guide for the default settings.
TEST_P(HelpGuideTest, ShowsTheUsersOwnShortcuts) {
  const std::string guide = guideFile(GetParam().guide);
  ASSERT_FALSE(guide.empty());
  const std::array<std::pair<std::uint32_t, std::string_view>, 8> modifiers{{
      {0x900, "⌘ Command + ⌥ Option"},
      {0x1100, "⌘ Command + ⌃ Control"},
      {0x1800, "⌃ Control + ⌥ Option"},
      {0x300, "⌘ Command + ⇧ Shift"},
      {0xA00, "⌥ Option + ⇧ Shift"},
      {0x1200, "⌃ Control + ⇧ Shift"},
      {0, "⌘ Command + ⌥ Option"},
      {0x1900, "⌘ Command + ⌥ Option"},
  }};
  AppSettings settings;
  settings.language = GetParam().language;
  EXPECT_EQ(HelpGuide::text(settings), guide);
  EXPECT_EQ(HelpGuide::fileName(settings.language), GetParam().fileName);
  settings.hotKey = {30, ModifierMask::control};
  const auto withHotKey = replaceAll(guide, "⌘ Command + ⇧ Shift + V", "⌃ Control + Key 30");
  for (const auto& [mask, text] : modifiers) {
    settings.directPasteModifiers = mask;
    EXPECT_EQ(HelpGuide::text(settings), replaceAll(withHotKey, "⌘ Command + ⌥ Option", text));
  }
}

INSTANTIATE_TEST_SUITE_P(
    Languages, HelpGuideTest,
    ::testing::Values(Language{AppLanguage::english, "english.txt", "Stowboard_Help.txt"},
                      Language{AppLanguage::simplifiedChinese, "chinese.txt",
                               "Stowboard_使用指南.txt"}),
    [](const auto& each) { return std::filesystem::path(each.param.guide).stem().string(); });

}  // namespace
}  // namespace stowboard
