#include "Core/DependencyContainer.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "fakes/Clips.h"
#include "fakes/FakePlatform.h"

namespace stowboard {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class DependencyContainerTest : public ::testing::Test {
 protected:
  FakePasteboard& pasteboard() { return fake_.pasteboard(); }
  FakeWorkspace& workspace() { return fake_.workspace(); }
  fs::path file(const char* name) const { return fake_.folder() / "Stowboard" / name; }

  /// What the file holds once every queued write is done; empty without the file.
  std::string stored(const DependencyContainer& container, const char* name) const {
    container.storage().flushPendingWrites();
    std::ostringstream content;
    content << std::ifstream(file(name)).rdbuf();
    return content.str();
  }

  FakePlatform fake_;
  const Platform& platform_ = fake_.platform;
};

TEST_F(DependencyContainerTest, WritesNothingBeforeTheFirstChange) {
  const DependencyContainer container(platform_);
  container.storage().flushPendingWrites();
  EXPECT_THAT(container.appState()->clips(), IsEmpty());
  EXPECT_EQ(container.appState()->settings(), AppSettings::defaults);
  EXPECT_TRUE(fs::is_empty(file("")));
}

TEST_F(DependencyContainerTest, WhatIsRecordedIsThereAfterARestartTrimmedToTheMaximum) {
  {
    const DependencyContainer container(platform_);
    container.clipboardMonitor().start();
    for (int number = 1; number <= 12; ++number) pasteboard().copyText(std::to_string(number));
    EXPECT_THAT(stored(container, "settings.json"), IsEmpty());
  }
  const DependencyContainer restarted(platform_);
  EXPECT_THAT(previews(restarted.appState()->clips()),
              ElementsAre("12", "11", "10", "9", "8", "7", "6", "5", "4", "3"));
}

TEST_F(DependencyContainerTest, StoresSettingsAndTheTrimmingThatTheyCause) {
  const DependencyContainer container(platform_);
  container.appState()->append(textClip("older"));
  container.appState()->append(textClip("newer"));
  AppSettings settings;
  settings.maxRecords = 1;
  settings.language = AppLanguage::simplifiedChinese;
  container.appState()->updateSettings(settings);
  EXPECT_THAT(stored(container, "settings.json"), HasSubstr("zh-Hans"));
  EXPECT_THAT(stored(container, "history.json"), Not(HasSubstr("older")));
  EXPECT_EQ(DependencyContainer(platform_).appState()->settings(), settings);
}

TEST_F(DependencyContainerTest, ClearingTheHistoryRemovesItsFile) {
  const DependencyContainer container(platform_);
  container.appState()->append(textClip("a"));
  EXPECT_THAT(stored(container, "history.json"), HasSubstr("\"a\""));
  container.appState()->clearAll();
  container.storage().flushPendingWrites();
  EXPECT_FALSE(fs::exists(file("history.json")));
}

TEST_F(DependencyContainerTest, AnApplicationExcludedLaterIsSkippedFromTheNextCopyOn) {
  const DependencyContainer container(platform_);
  container.clipboardMonitor().start();
  workspace().bringToFront("org.example.Vault");
  pasteboard().copyText("a");
  AppSettings settings;
  settings.excludedBundleIds = {"org.example.Vault"};
  container.appState()->updateSettings(settings);
  pasteboard().copyText("b");
  EXPECT_THAT(previews(container.appState()->clips()), ElementsAre("a"));
}

}  // namespace
}  // namespace stowboard
