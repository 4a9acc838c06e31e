#pragma once

#include <gtest/gtest.h>

#include "Platform/AccessibilityTrust.h"

namespace stowboard {

/// What every AccessibilityTrust has to hold. A Harness has granted() and withheld(), one of a
/// system that lets programs type and one of a system that does not.
template <typename Harness>
class AccessibilityTrustContract : public ::testing::Test {
 protected:
  Harness harness_;
};

TYPED_TEST_SUITE_P(AccessibilityTrustContract);

TYPED_TEST_P(AccessibilityTrustContract, TellsWhetherProgramsMayTypeEachTime) {
  for (int round = 0; round < 2; ++round) {
    EXPECT_TRUE(this->harness_.granted().isTrusted());
    EXPECT_FALSE(this->harness_.withheld().isTrusted());
    // Showing the settings does not change them.
    this->harness_.withheld().openSettings();
  }
}

REGISTER_TYPED_TEST_SUITE_P(AccessibilityTrustContract, TellsWhetherProgramsMayTypeEachTime);

}  // namespace stowboard
