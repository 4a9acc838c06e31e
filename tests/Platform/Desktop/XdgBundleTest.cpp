#include "Platform/Desktop/XdgBundle.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <optional>
#include <string>

#include "Platform/Desktop/XdgFolders.h"

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
  const XdgBundle bundle;
  EXPECT_EQ(bundle.executable().filename(), "platform_desktop_tests");
  EXPECT_TRUE(std::isdigit(static_cast<unsigned char>(bundle.version().at(0))));
  const Variable empty("STOWBOARD_TEST_EMPTY", "");
  const Variable absent("STOWBOARD_TEST_ABSENT", nullptr);
  EXPECT_EQ(bundle.environment("STOWBOARD_TEST_EMPTY"), "");
  EXPECT_EQ(bundle.environment("STOWBOARD_TEST_ABSENT"), std::nullopt);
}

}  // namespace
}  // namespace stowboard
