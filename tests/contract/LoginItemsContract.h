#pragma once

#include <gtest/gtest.h>

#include "Platform/LoginItems.h"

namespace stowboard {

/// What every LoginItems has to hold. A Harness starts without a registration and has items(), and
/// refuseChanges(), after which the system refuses every change.
template <typename Harness>
class LoginItemsContract : public ::testing::Test {
 protected:
  LoginItems& items() { return harness_.items(); }

  Harness harness_;
};

TYPED_TEST_SUITE_P(LoginItemsContract);

TYPED_TEST_P(LoginItemsContract, IsOnAfterRegisteringAndOffAfterwards) {
  EXPECT_EQ(this->items().unregisterApplication(), std::nullopt) << "never on";
  EXPECT_EQ(this->items().status(), LoginItems::Status::notRegistered);
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(this->items().registerApplication(), std::nullopt);
    EXPECT_EQ(this->items().registerApplication(), std::nullopt) << "on already";
    EXPECT_EQ(this->items().status(), LoginItems::Status::enabled);
    EXPECT_EQ(this->items().unregisterApplication(), std::nullopt);
    EXPECT_EQ(this->items().status(), LoginItems::Status::notRegistered);
  }
}

TYPED_TEST_P(LoginItemsContract, GivesTheSystemsWordsAndStaysAsItWasWhenRefused) {
  ASSERT_EQ(this->items().registerApplication(), std::nullopt);
  this->harness_.refuseChanges();
  EXPECT_NE(this->items().unregisterApplication().value_or(""), "");
  EXPECT_EQ(this->items().status(), LoginItems::Status::enabled);
  EXPECT_NE(this->items().registerApplication().value_or(""), "");
}

REGISTER_TYPED_TEST_SUITE_P(LoginItemsContract, IsOnAfterRegisteringAndOffAfterwards,
                            GivesTheSystemsWordsAndStaysAsItWasWhenRefused);

}  // namespace stowboard
