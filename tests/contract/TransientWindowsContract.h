#pragma once

#include <gtest/gtest.h>

#include <memory>

#include "Platform/TransientWindows.h"

namespace stowboard {

/// What every TransientWindows has to hold. A Harness has windows(); window(), one of ours that is
/// shown; clickOutside(), clickInside() and turnWheelOutside(); and turnUntil(condition).
template <typename Harness>
class TransientWindowsContract : public ::testing::Test {
 protected:
  Harness harness_;
  int clicks_ = 0;
};

TYPED_TEST_SUITE_P(TransientWindowsContract);

TYPED_TEST_P(TransientWindowsContract, TellsOfClicksOutsideForAsLongAsTheWatchLives) {
  auto& harness = this->harness_;
  harness.windows().prepareToShow(harness.window(), 0);
  auto watch = harness.windows().watch(harness.window(), [this] { this->clicks_ += 1; });
  int releasesAfterClicks = 0;
  watch->onRelease = [&] { releasesAfterClicks = this->clicks_; };
  for (int round = 1; round <= 2; ++round) {
    harness.clickInside();
    harness.turnWheelOutside();
    harness.clickOutside();
    EXPECT_TRUE(harness.turnUntil([&] { return this->clicks_ >= round; }));
    EXPECT_EQ(this->clicks_, round);
    EXPECT_TRUE(harness.turnUntil([&] { return releasesAfterClicks == round; }));
  }
  watch.reset();
  harness.clickOutside();
  bool isReached = false;
  watch = harness.windows().watch(harness.window(), [&] { isReached = true; });
  harness.clickOutside();
  EXPECT_TRUE(harness.turnUntil([&] { return isReached; }));
  EXPECT_EQ(this->clicks_, 2);
}

TYPED_TEST_P(TransientWindowsContract, LetsTheCallbackEndTheWatch) {
  auto& harness = this->harness_;
  std::unique_ptr<TransientWindows::Watch> watch;
  watch = harness.windows().watch(harness.window(), [this, &watch] {
    auto& counted = this->clicks_;
    watch.reset();
    counted += 1;
  });
  harness.clickOutside();
  EXPECT_TRUE(harness.turnUntil([&] { return this->clicks_ == 1; }));
}

REGISTER_TYPED_TEST_SUITE_P(TransientWindowsContract, TellsOfClicksOutsideForAsLongAsTheWatchLives,
                            LetsTheCallbackEndTheWatch);

}  // namespace stowboard
