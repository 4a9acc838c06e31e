#pragma once

#include <gtest/gtest.h>

#include <vector>

#include "Platform/DesktopAppearance.h"

namespace stowboard {

/// What every DesktopAppearance has to hold. A Harness has a system that tells nothing yet;
/// appearance(); prefer(appearance), the user's choice; and turnUntil(condition).
template <typename Harness>
class DesktopAppearanceContract : public ::testing::Test {
 protected:
  bool prefer(const Appearance& wanted) {
    harness_.prefer(wanted);
    return harness_.turnUntil([&] { return harness_.appearance().appearance() == wanted; });
  }

  Harness harness_;
};

TYPED_TEST_SUITE_P(DesktopAppearanceContract);

TYPED_TEST_P(DesktopAppearanceContract, ReportsEachPreferenceOnceItIsKnown) {
  auto& port = this->harness_.appearance();
  EXPECT_EQ(port.appearance(), Appearance());
  std::vector<Appearance> reported;
  port.onDidChange = [&](const Appearance& now) {
    EXPECT_EQ(now, port.appearance());
    reported.push_back(now);
  };
  const std::vector<Appearance> wanted{{ColorScheme::dark, Contrast::high},
                                       {ColorScheme::dark, Contrast::normal},
                                       {ColorScheme::light, Contrast::normal},
                                       {ColorScheme::noPreference, Contrast::normal}};
  for (const Appearance& each : wanted) EXPECT_TRUE(this->prefer(each));
  EXPECT_EQ(reported, wanted);
}

TYPED_TEST_P(DesktopAppearanceContract, LetsACallbackReplaceItself) {
  auto& port = this->harness_.appearance();
  int calls = 0;
  port.onDidChange = [&port, &calls](const Appearance&) {
    port.onDidChange = nullptr;
    calls += 1;
  };
  EXPECT_TRUE(this->prefer({ColorScheme::dark, Contrast::normal}));
  EXPECT_TRUE(this->prefer({ColorScheme::light, Contrast::normal}));
  EXPECT_EQ(calls, 1);
}

REGISTER_TYPED_TEST_SUITE_P(DesktopAppearanceContract, ReportsEachPreferenceOnceItIsKnown,
                            LetsACallbackReplaceItself);

}  // namespace stowboard
