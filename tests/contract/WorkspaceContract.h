#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Platform/Workspace.h"

namespace stowboard {

/// What every Workspace has to hold. A Harness has workspace(); activate(id), which brings an
/// application of that id to the front; leaveFront(), after which none is there; close(id), which
/// ends it; and turnUntil(condition).
template <typename Harness>
class WorkspaceContract : public ::testing::Test {
 protected:
  WorkspaceContract() {
    harness_.workspace().onDidActivate = [this](const RunningApplication& application) {
      reported_.push_back(application.bundleIdentifier.value_or("(none)"));
    };
  }

  bool isFrontmost(const std::string& id) {
    return harness_.turnUntil([&] {
      const auto application = harness_.workspace().frontmostApplication();
      return application && application->bundleIdentifier == id;
    });
  }
  bool reports(const std::vector<std::string>& ids) {
    return harness_.turnUntil([&] { return reported_ == ids; });
  }

  Harness harness_;
  std::vector<std::string> reported_;
};

TYPED_TEST_SUITE_P(WorkspaceContract);

TYPED_TEST_P(WorkspaceContract, NamesTheApplicationInFrontAndReportsEachThatComes) {
  auto& harness = this->harness_;
  harness.activate("org.example.One");
  EXPECT_TRUE(this->isFrontmost("org.example.One"));
  EXPECT_TRUE(this->reports({"org.example.One"}));
  harness.activate("org.example.Two");
  EXPECT_TRUE(this->isFrontmost("org.example.Two"));
  EXPECT_TRUE(this->reports({"org.example.One", "org.example.Two"}));
  harness.activate("org.example.One");
  EXPECT_TRUE(this->reports({"org.example.One", "org.example.Two", "org.example.One"}));
}

TYPED_TEST_P(WorkspaceContract, AnswersWithNoneInFrontButDoesNotReportIt) {
  auto& harness = this->harness_;
  harness.activate("org.example.One");
  EXPECT_TRUE(this->reports({"org.example.One"}));
  harness.leaveFront();
  EXPECT_TRUE(
      harness.turnUntil([&] { return !harness.workspace().frontmostApplication().has_value(); }));
  harness.activate("org.example.One");
  EXPECT_TRUE(this->isFrontmost("org.example.One"));
  harness.activate("org.example.Two");
  EXPECT_TRUE(this->reports({"org.example.One", "org.example.Two"}));
}

TYPED_TEST_P(WorkspaceContract, LetsACallbackReplaceItself) {
  auto& workspace = this->harness_.workspace();
  std::string first;
  workspace.onDidActivate = [&](const RunningApplication& application) {
    const auto alive = std::make_shared<std::string>(*application.bundleIdentifier);
    workspace.onDidActivate = nullptr;
    first = *alive;
  };
  this->harness_.activate("org.example.One");
  EXPECT_TRUE(this->harness_.turnUntil([&] { return first == "org.example.One"; }));
  this->harness_.activate("org.example.Two");
  EXPECT_TRUE(this->isFrontmost("org.example.Two"));
  EXPECT_EQ(first, "org.example.One");
}

TYPED_TEST_P(WorkspaceContract, ActivatesAnApplicationUntilItEnds) {
  auto& harness = this->harness_;
  auto& workspace = harness.workspace();
  harness.activate("org.example.One");
  const auto one = workspace.frontmostApplication();
  ASSERT_TRUE(one);
  harness.activate("org.example.Two");
  EXPECT_FALSE(workspace.isTerminated(*one));
  EXPECT_TRUE(workspace.activate(*one));
  EXPECT_TRUE(this->isFrontmost("org.example.One"));
  harness.leaveFront();
  EXPECT_TRUE(workspace.activate(*one));
  EXPECT_TRUE(this->isFrontmost("org.example.One"));
  harness.close("org.example.One");
  EXPECT_TRUE(harness.turnUntil([&] { return workspace.isTerminated(*one); }));
  EXPECT_FALSE(workspace.activate(*one));
}

REGISTER_TYPED_TEST_SUITE_P(WorkspaceContract, NamesTheApplicationInFrontAndReportsEachThatComes,
                            AnswersWithNoneInFrontButDoesNotReportIt, LetsACallbackReplaceItself,
                            ActivatesAnApplicationUntilItEnds);

}  // namespace stowboard
