#include "App/AppCoordinator.h"

#include <gmock/gmock.h>

#include "fakes/Clips.h"
#include "fakes/FakePlatform.h"
#include "fakes/LogCapture.h"

namespace stowboard {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr std::uint32_t commandOption = ModifierMask::command | ModifierMask::option;
constexpr std::uint32_t controlShift = ModifierMask::control | ModifierMask::shift;
const std::string panelRefused =
    "error hotkey: Hotkey registration failed — panel remains available via menu bar click";

class AppCoordinatorTest : public ::testing::Test {
 protected:
  AppCoordinatorTest() {
    coordinator_ = AppCoordinator::create(fake_.platform);
    state_ = coordinator_->appState();
  }

  HotKeyConfig digit(int number, std::uint32_t modifiers) {
    return {*HotKeyConfig::keyCodeForDigit(number), modifiers};
  }
  void press(const HotKeyConfig& config) {
    fake_.hotKeys().press(config);
    fake_.runLoop().runUntilIdle();
  }
  std::optional<Text> pasted() { return fake_.pasteboard().string(PasteboardType::string); }
  /// How many registrations the log tells of since it was last asked.
  std::size_t registrations() {
    const auto count = std::ranges::count_if(log_.lines(), [](const std::string& line) {
      return line.starts_with("info hotkey: Hotkey [");
    });
    return static_cast<std::size_t>(count) - std::exchange(counted_, count);
  }

  FakePlatform fake_;
  LogCapture log_;
  std::size_t counted_ = 0;
  std::shared_ptr<AppState> state_;
  std::shared_ptr<AppCoordinator> coordinator_;
};

TEST_F(AppCoordinatorTest, PastesTheClipOfThePressedDigitFromTheWholeHistory) {
  state_->append(textClip("older"));
  state_->append(textClip("newer"));
  coordinator_->start();
  press(digit(2, commandOption));
  EXPECT_EQ(pasted(), Text("older"));
  fake_.runLoop().advance(std::chrono::seconds(1));
  press(digit(1, commandOption));
  EXPECT_EQ(pasted(), Text("newer"));
  EXPECT_THAT(log_.lines(), Contains("info paste: Direct paste triggered for index 1: older"));
  fake_.runLoop().advance(std::chrono::seconds(1));
  const auto count = fake_.pasteboard().changeCount();
  press(digit(3, commandOption));
  EXPECT_EQ(fake_.pasteboard().changeCount(), count);
  EXPECT_EQ(log_.lines().back(),
            "info paste: Direct paste hotkey triggered but no clip at index 2");
  fake_.runLoop().advance(std::chrono::seconds(1));
  EXPECT_THAT(previews(state_->clips()), ElementsAre("newer", "older"))
      << "a paste is not recorded again";
}

TEST_F(AppCoordinatorTest, FollowsTheHotKeysInTheSettings) {
  coordinator_->start();
  EXPECT_EQ(registrations(), 10u);
  AppSettings settings;
  settings.language = AppLanguage::simplifiedChinese;
  state_->updateSettings(settings);
  EXPECT_EQ(registrations(), 10u) << "the first change of a run, whatever it is";
  settings.language = AppLanguage::english;
  state_->updateSettings(settings);
  EXPECT_EQ(registrations(), 0u);
  settings.directPasteModifiers = controlShift;
  state_->updateSettings(settings);
  EXPECT_EQ(registrations(), 10u);
  EXPECT_THAT(fake_.hotKeys().held, SizeIs(10));
  state_->append(textClip("a"));
  press(digit(1, commandOption));
  EXPECT_EQ(pasted(), std::nullopt);
  press(digit(1, controlShift));
  EXPECT_EQ(pasted(), Text("a"));
}

TEST_F(AppCoordinatorTest, ARefusedPanelHotKeyCostsNothingElse) {
  fake_.hotKeys().taken = {HotKeyConfig::defaultConfig};
  coordinator_->start();
  EXPECT_EQ(std::ranges::count(log_.lines(), panelRefused), 1);
  EXPECT_EQ(registrations(), 9u);
}

TEST_F(AppCoordinatorTest, LeavesNothingBehindThatCallsIt) {
  coordinator_->start();
  fake_.hotKeys().press(digit(1, commandOption));
  coordinator_.reset();
  fake_.runLoop().runUntilIdle();
  EXPECT_THAT(fake_.hotKeys().held, IsEmpty());
  state_->updateSettings({});
}

}  // namespace
}  // namespace stowboard
