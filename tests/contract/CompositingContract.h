#pragma once

#include <gtest/gtest.h>

#include "Platform/Compositing.h"

namespace stowboard {

/// What every Compositing has to hold. A Harness has compositing(), which does not run at first;
/// start() and end(), which have it run or not; and turnUntil(condition).
template <typename Harness>
class CompositingContract : public ::testing::Test {
 protected:
  Harness harness_;
};

TYPED_TEST_SUITE_P(CompositingContract);

TYPED_TEST_P(CompositingContract, TellsWhenItStartsAndEnds) {
  auto& compositing = this->harness_.compositing();
  EXPECT_FALSE(compositing.isRunning());
  bool isRunning = false;
  compositing.onDidChange = [&] { isRunning = compositing.isRunning(); };
  this->harness_.start();
  EXPECT_TRUE(this->harness_.turnUntil([&] { return isRunning; }));
  this->harness_.end();
  EXPECT_TRUE(this->harness_.turnUntil([&] { return !isRunning; }));
}

TYPED_TEST_P(CompositingContract, LetsTheCallbackRemoveItself) {
  auto& compositing = this->harness_.compositing();
  int calls = 0;
  compositing.onDidChange = [&compositing, &calls] {
    auto& counted = calls;
    compositing.onDidChange = nullptr;
    counted += 1;
  };
  this->harness_.start();
  EXPECT_TRUE(this->harness_.turnUntil([&] { return calls > 0; }));
  this->harness_.end();
  EXPECT_TRUE(this->harness_.turnUntil([&] { return !compositing.isRunning(); }));
  EXPECT_EQ(calls, 1);
}

REGISTER_TYPED_TEST_SUITE_P(CompositingContract, TellsWhenItStartsAndEnds,
                            LetsTheCallbackRemoveItself);

}  // namespace stowboard
