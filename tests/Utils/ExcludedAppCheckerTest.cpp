#include "Utils/ExcludedAppChecker.h"

#include <gtest/gtest.h>

#include "fakes/FakeWorkspace.h"

namespace stowboard {
namespace {

TEST(ExcludedAppChecker, ExcludesTheWholeIdAndNothingElse) {
  const ExcludedAppChecker checker({"org.example.Vault", ""});
  EXPECT_TRUE(checker.isExcluded("org.example.Vault"));
  for (const char* other :
       {"org.example.vault", "org.example.Vault2", "org.example", "*", "org.example.Vault "}) {
    EXPECT_FALSE(checker.isExcluded(other)) << other;
  }
  EXPECT_FALSE(checker.isExcluded(std::nullopt));
  EXPECT_FALSE(ExcludedAppChecker({}).isExcluded("org.example.Vault"));
}

TEST(FrontmostAppProvider, AsksTheDesktopAfresh) {
  FakeWorkspace workspace;
  const FrontmostAppProvider provider(workspace);
  EXPECT_EQ(provider.frontmostBundleId(), std::nullopt);
  workspace.bringToFront("org.example.Vault");
  EXPECT_EQ(provider.frontmostBundleId(), "org.example.Vault");
  workspace.setFrontmost(RunningApplication{});
  EXPECT_EQ(provider.frontmostBundleId(), std::nullopt);
}

}  // namespace
}  // namespace stowboard
