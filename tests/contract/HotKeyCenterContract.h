#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "Platform/HotKeyCenter.h"

namespace stowboard {

/// What every HotKeyCenter has to hold. A Harness has center(); press(config), which presses and
/// releases the combination as a user does; holdElsewhere(config) and releaseElsewhere(config),
/// which have another program take and give back a combination; and turnUntil(condition).
template <typename Harness>
class HotKeyCenterContract : public ::testing::Test {
 protected:
  HotKeyCenterContract() {
    const auto status = harness_.center().installEventHandler(
        [this](const HotKeyIdentity& identity) { pressed_.push_back(identity.id); });
    EXPECT_EQ(status, HotKeyCenter::noError);
  }

  HotKeyCenter::Reference take(const HotKeyConfig& config, std::uint32_t id) {
    const auto [status, reference] = harness_.center().registerHotKey(config, {7, id});
    EXPECT_EQ(status, HotKeyCenter::noError);
    EXPECT_NE(reference, 0U);
    return reference;
  }
  ::testing::AssertionResult delivers(const std::vector<std::uint32_t>& ids) {
    harness_.turnUntil([&] { return pressed_.size() >= ids.size(); });
    if (pressed_ == ids) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << ::testing::PrintToString(pressed_);
  }

  static constexpr HotKeyConfig panel_ = HotKeyConfig::defaultConfig;
  static constexpr HotKeyConfig one_{18, ModifierMask::command | ModifierMask::option};
  static constexpr HotKeyConfig two_{19, ModifierMask::command | ModifierMask::option};

  Harness harness_;
  std::vector<std::uint32_t> pressed_;
};

TYPED_TEST_SUITE_P(HotKeyCenterContract);

TYPED_TEST_P(HotKeyCenterContract, GivesEachPressOnceToItsRegistration) {
  this->take(this->panel_, 1);
  this->take(this->one_, 101);
  this->take(this->two_, 102);
  for (const auto& config : {this->one_, this->panel_, this->two_, this->one_}) {
    this->harness_.press(config);
  }
  EXPECT_TRUE(this->delivers({101, 1, 102, 101}));
}

TYPED_TEST_P(HotKeyCenterContract, KeepsSilentAboutWhatIsGivenBack) {
  const auto reference = this->take(this->one_, 101);
  this->take(this->two_, 102);
  this->harness_.center().unregisterHotKey(reference);
  this->harness_.center().unregisterHotKey(reference);
  this->harness_.center().unregisterHotKey(4711);
  this->harness_.press(this->one_);
  this->harness_.press(this->two_);
  EXPECT_TRUE(this->delivers({102}));
  this->take(this->one_, 109);
  this->harness_.press(this->one_);
  EXPECT_TRUE(this->delivers({102, 109}));
}

TYPED_TEST_P(HotKeyCenterContract, RefusesWhatAnotherProgramHolds) {
  this->harness_.holdElsewhere(this->one_);
  const auto refused = this->harness_.center().registerHotKey(this->one_, {7, 101});
  EXPECT_NE(refused.status, HotKeyCenter::noError);
  EXPECT_EQ(refused.reference, 0U);
  this->harness_.releaseElsewhere(this->one_);
  this->take(this->one_, 102);
  this->harness_.press(this->one_);
  EXPECT_TRUE(this->delivers({102}));
}

TYPED_TEST_P(HotKeyCenterContract, GivesAPressToTheOldestOfSeveralRegistrations) {
  const auto oldest = this->take(this->one_, 101);
  this->take(this->one_, 102);
  this->harness_.press(this->one_);
  EXPECT_TRUE(this->delivers({101}));
  this->harness_.center().unregisterHotKey(oldest);
  this->harness_.press(this->one_);
  EXPECT_TRUE(this->delivers({101, 102}));
}

TYPED_TEST_P(HotKeyCenterContract, LetsTheHandlerEndTheRegistration) {
  auto& center = this->harness_.center();
  const auto reference = this->take(this->one_, 101);
  this->take(this->two_, 102);
  center.installEventHandler([&](const HotKeyIdentity& identity) {
    center.unregisterHotKey(reference);
    this->pressed_.push_back(identity.id);
  });
  for (const auto& config : {this->one_, this->one_, this->two_}) this->harness_.press(config);
  EXPECT_TRUE(this->delivers({101, 102}));
}

REGISTER_TYPED_TEST_SUITE_P(HotKeyCenterContract, GivesEachPressOnceToItsRegistration,
                            KeepsSilentAboutWhatIsGivenBack, RefusesWhatAnotherProgramHolds,
                            GivesAPressToTheOldestOfSeveralRegistrations,
                            LetsTheHandlerEndTheRegistration);

}  // namespace stowboard
