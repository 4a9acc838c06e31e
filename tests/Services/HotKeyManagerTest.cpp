#include "Services/HotKeyManager.h"

#include <gmock/gmock.h>

#include <optional>

#include "fakes/FakeHotKeyCenter.h"
#include "fakes/FakeRunLoop.h"
#include "fakes/LogCapture.h"

namespace stowboard {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr HotKeyConfig commandV{9, ModifierMask::command};
constexpr HotKeyConfig optionOne{18, ModifierMask::option};

class HotKeyManagerTest : public ::testing::Test {
 protected:
  HotKeyManager::Handler handler(const char* name) {
    return [this, name] { runs_.emplace_back(name); };
  }
  void press(const HotKeyConfig& config) {
    center_.press(config);
    runLoop_.runUntilIdle();
  }

  FakeHotKeyCenter center_;
  FakeRunLoop runLoop_;
  LogCapture log_;
  std::vector<std::string> runs_;
  std::optional<HotKeyManager> manager_{std::in_place, center_, runLoop_};
};

TEST_F(HotKeyManagerTest, RunsTheHandlerOncePerPressOnALaterTurn) {
  EXPECT_TRUE(manager_->registerHotKey(commandV, handler("panel")));
  EXPECT_TRUE(manager_->registerHotKey(101, optionOne, handler("paste")));
  EXPECT_EQ(center_.installations, 1);
  center_.press(optionOne);
  EXPECT_FALSE(center_.holdsTyping);
  center_.press(commandV);
  EXPECT_TRUE(center_.holdsTyping) << "the panel is to get what is typed";
  EXPECT_THAT(runs_, IsEmpty());
  runLoop_.runUntilIdle();
  EXPECT_THAT(runs_, ElementsAre("paste", "panel"));
  EXPECT_THAT(log_.lines(), ElementsAre("info hotkey: Hotkey [1] registered: ⌘V",
                                        "info hotkey: Hotkey [101] registered: ⌥1"));
}

TEST_F(HotKeyManagerTest, ANewRegistrationReplacesTheOldOneOfItsId) {
  manager_->registerHotKey(7, commandV, handler("old"));
  EXPECT_TRUE(manager_->registerHotKey(7, commandV, handler("new")))
      << "the old one is given back first, or it would hold the combination";
  manager_->registerHotKey(7, optionOne, handler("other"));
  press(commandV);
  press(optionOne);
  EXPECT_THAT(runs_, ElementsAre("other"));
  EXPECT_THAT(center_.held, SizeIs(1));
}

TEST_F(HotKeyManagerTest, ARefusedRegistrationLeavesTheIdWithoutAny) {
  manager_->registerHotKey(7, commandV, handler("old"));
  center_.taken = {optionOne};
  EXPECT_FALSE(manager_->registerHotKey(7, optionOne, handler("refused")));
  press(commandV);
  EXPECT_THAT(runs_, IsEmpty());
  EXPECT_THAT(center_.held, IsEmpty());
  EXPECT_EQ(log_.lines().back(), "error hotkey: RegisterEventHotKey failed (-9878) for id 7 ⌥1");
}

TEST_F(HotKeyManagerTest, AFailedInstallationIsTriedAgainByTheNextRegistration) {
  center_.installStatus = -50;
  EXPECT_FALSE(manager_->registerHotKey(commandV, handler("panel")));
  EXPECT_THAT(log_.lines(), ElementsAre("error hotkey: InstallEventHandler failed (-50)"));
  center_.installStatus = HotKeyCenter::noError;
  EXPECT_TRUE(manager_->registerHotKey(commandV, handler("panel")));
}

TEST_F(HotKeyManagerTest, UnregisteringEndsJustWhatWasNamed) {
  manager_->registerHotKey(commandV, handler("panel"));
  manager_->registerHotKey(101, optionOne, handler("paste"));
  manager_->unregister(101);
  manager_->unregister(999);
  press(optionOne);
  press(commandV);
  EXPECT_THAT(runs_, ElementsAre("panel"));
  manager_->unregister();
  manager_->unregisterAll();
  EXPECT_THAT(center_.held, IsEmpty());
}

TEST_F(HotKeyManagerTest, IgnoresStrangersAndOutlivesNoRegistration) {
  manager_->registerHotKey(commandV, handler("panel"));
  center_.deliver({0x41424344, 1});
  center_.deliver({0x5342484b, 2});
  runLoop_.runUntilIdle();
  EXPECT_THAT(runs_, IsEmpty());
  manager_.reset();
  EXPECT_THAT(center_.held, IsEmpty());
  center_.deliver({0x5342484b, 1});
  runLoop_.runUntilIdle();
  EXPECT_THAT(runs_, IsEmpty());
}

TEST_F(HotKeyManagerTest, APressDuringWhichTheHandlerIsReplacedRunsTheOldOne) {
  manager_->registerHotKey(commandV, handler("old"));
  center_.press(commandV);
  manager_->registerHotKey(commandV, handler("new"));
  runLoop_.runUntilIdle();
  EXPECT_THAT(runs_, ElementsAre("old"));
}

}  // namespace
}  // namespace stowboard
