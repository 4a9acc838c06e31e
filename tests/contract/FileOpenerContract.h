#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Platform/FileOpener.h"

namespace stowboard {

/// What every FileOpener has to hold. A Harness has opener(); opened(), the files that the desktop
/// was given so far, in order; and turnUntil(condition).
template <typename Harness>
class FileOpenerContract : public ::testing::Test {
 protected:
  Harness harness_;
};

TYPED_TEST_SUITE_P(FileOpenerContract);

TYPED_TEST_P(FileOpenerContract, GivesTheDesktopEachFileWhateverItsName) {
  auto& harness = this->harness_;
  std::vector<std::string> files;
  for (const char* file : {"/tmp/Stowboard_使用指南.txt", "/tmp/a b\"$(c)'*", "/tmp/--help"}) {
    harness.opener().open(file);
    files.emplace_back(file);
    EXPECT_TRUE(harness.turnUntil([&] { return harness.opened() == files; })) << file;
  }
}

REGISTER_TYPED_TEST_SUITE_P(FileOpenerContract, GivesTheDesktopEachFileWhateverItsName);

}  // namespace stowboard
