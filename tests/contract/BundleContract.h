#pragma once

#include <gtest/gtest.h>

#include <cctype>

#include "Platform/Bundle.h"

namespace stowboard {

/// What every Bundle has to hold. A Harness has bundle(), and set(name, value), which sets an
/// environment variable for the test.
template <typename Harness>
class BundleContract : public ::testing::Test {
 protected:
  Harness harness_;
};

TYPED_TEST_SUITE_P(BundleContract);

TYPED_TEST_P(BundleContract, KnowsItselfAndTheUsersEnvironment) {
  const Bundle& bundle = this->harness_.bundle();
  EXPECT_EQ(bundle.identifier(), "com.qarvin.stowboard");
  EXPECT_TRUE(std::isdigit(static_cast<unsigned char>(bundle.version().at(0))));
  EXPECT_TRUE(bundle.executable().is_absolute());
  EXPECT_TRUE(bundle.applicationSupportFolder().is_absolute());
  this->harness_.set("STOWBOARD_TEST_SET", "a b");
  this->harness_.set("STOWBOARD_TEST_EMPTY", "");
  EXPECT_EQ(bundle.environment("STOWBOARD_TEST_SET"), "a b");
  EXPECT_EQ(bundle.environment("STOWBOARD_TEST_EMPTY"), "");
  EXPECT_EQ(bundle.environment("STOWBOARD_TEST_ABSENT"), std::nullopt);
}

REGISTER_TYPED_TEST_SUITE_P(BundleContract, KnowsItselfAndTheUsersEnvironment);

}  // namespace stowboard
