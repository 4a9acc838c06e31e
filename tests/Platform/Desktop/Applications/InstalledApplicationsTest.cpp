#include "Platform/Desktop/Applications/InstalledApplications.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "Platform/Desktop/TemporaryFolder.h"
#include "contract/ApplicationIdentifyingContract.h"

namespace stowboard {
namespace {

std::string application(const std::string& more = "") {
  return "# a comment\n[Desktop Entry]\nType=Application\nExec=tool\n" + more;
}

std::vector<std::string> idsIn(const std::vector<DesktopEntry>& entries) {
  std::vector<std::string> ids;
  for (const auto& entry : entries) ids.push_back(entry.id);
  return ids;
}

TEST(DesktopEntries, AreReadByPrecedenceAndWithDashesForFolders) {
  const TemporaryFolder home;
  const TemporaryFolder system;
  home.write("applications/changed.desktop", application("StartupWMClass=Mine\n"));
  home.write("applications/removed.desktop", application("Hidden=true\n"));
  home.write("applications/kde4/deep/tool.desktop", application());
  home.write("applications/link.desktop", "[Desktop Entry]\nType=Link\nURL=https://x.org\n");
  home.write("applications/empty.desktop", "");
  home.write("applications/notes.txt", application());
  system.write("applications/changed.desktop", application("StartupWMClass=Theirs\n"));
  system.write("applications/removed.desktop", application());
  system.write("applications/plain.desktop", application());
  // A circle of links ends.
  std::filesystem::create_directory_symlink(home.path() / "applications",
                                            home.path() / "applications/kde4/again");

  const auto entries = DesktopEntries::read({home.path(), "/nowhere", system.path()});
  auto ids = idsIn(entries);
  std::erase_if(ids, [](const std::string& id) { return id.find("-again-") != id.npos; });
  EXPECT_EQ(ids, (std::vector<std::string>{"changed", "kde4-deep-tool", "plain"}));
  EXPECT_EQ(entries.front().startupWmClass, "Mine");
}

TEST(DesktopEntries, KeepWhatIdentifiesAnApplication) {
  const auto entry = DesktopEntry::parse(
      "x",
      "[Other]\nExec=no\n[Desktop Entry]\r\nType = Application\r\nName[de]=X=Y\r\n"
      "Exec=env LANG=C \"/opt/a b/run it\" %U\r\nCategories=System; TerminalEmulator;;\r\n"
      "NoDisplay=true\r\n[Desktop Action new]\nExec=other\nStartupWMClass=Other\n");
  ASSERT_TRUE(entry);
  EXPECT_EQ(entry->executable, "run it");
  EXPECT_TRUE(entry->hasCategory("TerminalEmulator"));
  EXPECT_FALSE(entry->hasCategory("Terminal"));
  EXPECT_FALSE(entry->isShown);
  EXPECT_EQ(entry->startupWmClass, "");
  for (const char* other :
       {"", "Type=Application", "[Desktop Entry]\nType=Directory", "[", "\n=\n"}) {
    EXPECT_FALSE(DesktopEntry::parse("x", other)) << other;
  }
}

class InstalledHarness {
 public:
  InstalledHarness() {
    folder_.write("applications/Editor.desktop", application());
    folder_.write("applications/Terminal.desktop", application("Categories=TerminalEmulator;\n"));
    applications_.emplace(std::vector{folder_.path()});
  }
  const ApplicationIdentifying& applications() const { return *applications_; }

 private:
  const TemporaryFolder folder_;
  std::optional<InstalledApplications> applications_;
};

INSTANTIATE_TYPED_TEST_SUITE_P(Installed, ApplicationIdentifyingContract, InstalledHarness);

bool becomes(const InstalledApplications& applications, const std::string& wmClass,
             const std::string& id) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (std::chrono::steady_clock::now() < end) {
    const auto entries = applications.entries();
    const auto* found = entries->findByWmClass(wmClass);
    if ((found ? found->id : "") == id) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return false;
}

TEST(InstalledApplications, FollowInstallationsUpdatesAndRemovals) {
  const TemporaryFolder root;
  root.write("system/applications/one.desktop", application("StartupWMClass=One\n"));
  const auto home = root.path() / "home/share";
  const InstalledApplications applications({home, root.path() / "system"});
  EXPECT_TRUE(becomes(applications, "One", "one"));
  const auto old = applications.entries();

  root.write("system/applications/one.desktop", application("StartupWMClass=Eins\n"));
  EXPECT_TRUE(becomes(applications, "Eins", "one"));
  // Folders that did not exist, step by step.
  std::filesystem::create_directory(home.parent_path());
  root.write("home/share/applications/sub/two.desktop", application("StartupWMClass=Two\n"));
  EXPECT_TRUE(becomes(applications, "Two", "sub-two"));
  root.write("home/share/applications/sub/three.desktop", application("StartupWMClass=Three\n"));
  EXPECT_TRUE(becomes(applications, "Three", "sub-three"));
  std::filesystem::remove_all(home);
  EXPECT_TRUE(becomes(applications, "Two", ""));
  EXPECT_TRUE(becomes(applications, "Eins", "one"));
  EXPECT_EQ(old->findByWmClass("One")->id, "one");
}

}  // namespace
}  // namespace stowboard
