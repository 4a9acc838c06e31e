#include "Platform/Desktop/XdgBundle.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <list>
#include <optional>
#include <string>

#include "Platform/Desktop/XdgFolders.h"
#include "contract/BundleContract.h"

namespace stowboard {
namespace {

/// Sets or unsets a variable for one scope.
class Variable {
 public:
  Variable(const char* name, const char* value) : name_(name) {
    if (const char* old = std::getenv(name)) old_ = old;
    set(value);
  }
  ~Variable() { set(old_ ? old_->c_str() : nullptr); }
  Variable(const Variable&) = delete;
  Variable& operator=(const Variable&) = delete;

 private:
  void set(const char* value) { value ? setenv(name_, value, 1) : unsetenv(name_); }

  const char* name_;
  std::optional<std::string> old_;
};

struct XdgBundleHarness {
  XdgBundle& bundle() { return bundle_; }
  void set(const char* name, const char* value) { variables_.emplace_back(name, value); }

  XdgBundle bundle_;
  std::list<Variable> variables_;
};

INSTANTIATE_TYPED_TEST_SUITE_P(Xdg, BundleContract, XdgBundleHarness);

TEST(XdgBundle, FindsTheUsersDataFolder) {
  const std::string databaseHome = getpwuid(getuid())->pw_dir;
  struct Case {
    const char* dataHome;
    const char* home;
    std::string folder;
  };
  const Case cases[] = {{"/data", "/home/x", "/data"},
                        {nullptr, "/home/x", "/home/x/.local/share"},
                        {"", "/home/x", "/home/x/.local/share"},
                        {"relative", "/home/x", "/home/x/.local/share"},
                        {nullptr, nullptr, databaseHome + "/.local/share"},
                        {nullptr, "relative", databaseHome + "/.local/share"}};
  for (const auto& each : cases) {
    const Variable dataHome("XDG_DATA_HOME", each.dataHome);
    const Variable home("HOME", each.home);
    EXPECT_EQ(XdgBundle().applicationSupportFolder(), each.folder);
  }
}

TEST(XdgFolders, ListSharedDataOnceAndInItsOrder) {
  const Variable home("XDG_DATA_HOME", "/data");
  const std::vector<std::filesystem::path> exports = {
      "/data/flatpak/exports/share", "/var/lib/flatpak/exports/share", "/var/lib/snapd/desktop"};
  const auto expect = [&](const char* variable, std::vector<std::filesystem::path> folders) {
    const Variable listed("XDG_DATA_DIRS", variable);
    folders.insert(folders.end(), exports.begin(), exports.end());
    EXPECT_EQ(XdgFolders::data(), folders);
  };
  expect(nullptr, {"/data", "/usr/local/share", "/usr/share"});
  expect("/b/::relative:/a:/b:/data", {"/data", "/b", "/a"});
}

TEST(XdgBundle, KnowsTheRunningProgram) {
  EXPECT_EQ(XdgBundle().executable().filename(), "platform_desktop_tests");
}

}  // namespace
}  // namespace stowboard
