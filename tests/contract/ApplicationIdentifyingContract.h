#pragma once

#include <gtest/gtest.h>

#include <string>

#include "Platform/ApplicationIdentifying.h"

namespace stowboard {

/// What every ApplicationIdentifying has to hold. A Harness has applications(), which know "Editor"
/// and "Terminal".
template <typename Harness>
class ApplicationIdentifyingContract : public ::testing::Test {
 protected:
  Harness harness_;
};

TYPED_TEST_SUITE_P(ApplicationIdentifyingContract);

TYPED_TEST_P(ApplicationIdentifyingContract, TellsApplicationsAndTerminalsApart) {
  const auto& applications = this->harness_.applications();
  WindowTraits window;
  EXPECT_EQ(applications.applicationId(window), std::nullopt);
  for (const char* name : {"Editor", "Terminal", "unknown"}) {
    window.wmClass = name;
    EXPECT_EQ(applications.applicationId(window), name);
    EXPECT_EQ(applications.isTerminal(name), name == std::string("Terminal"));
  }
}

REGISTER_TYPED_TEST_SUITE_P(ApplicationIdentifyingContract, TellsApplicationsAndTerminalsApart);

}  // namespace stowboard
