#include "Platform/Desktop/XdgAutostart.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include "Platform/Desktop/TemporaryFolder.h"
#include "contract/LoginItemsContract.h"
#include "fakes/FakeBundle.h"

namespace stowboard {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;
using Status = LoginItems::Status;

class ProgramBundle : public FakeBundle {
 public:
  ProgramBundle() : FakeBundle("/nonexistent") {}
  fs::path program = "/bin/true";
  fs::path executable() const override { return program; }
};

/// Configuration folders of the test's own.
class Autostart {
 public:
  Autostart() {
    setenv("XDG_CONFIG_HOME", (folder_.path() / "home").c_str(), 1);
    setenv("XDG_CONFIG_DIRS", (folder_.path() / "system").c_str(), 1);
  }
  ~Autostart() {
    if (isRefusing_ && getuid() == 0) static_cast<void>(seteuid(0));
    if (isRefusing_) chmod((folder_.path() / "home/autostart").c_str(), 0700);
    unsetenv("XDG_CONFIG_HOME");
    unsetenv("XDG_CONFIG_DIRS");
  }
  Autostart(const Autostart&) = delete;
  Autostart& operator=(const Autostart&) = delete;

  LoginItems& items() { return items_; }

  // Root may write anywhere, so it has to be somebody else meanwhile.
  void refuseChanges() {
    isRefusing_ = true;
    for (const auto* each : {"", "home", "home/autostart"}) {
      chmod((folder_.path() / each).c_str(), 0555);
    }
    chmod(userFile().c_str(), 0444);
    if (getuid() == 0) {
      ASSERT_EQ(seteuid(65534), 0);
    }
  }

  fs::path userFile() const { return folder_.path() / "home/autostart" / fileName; }
  void write(const std::string& place, const std::string& keys) {
    const std::string entry = "[Desktop Entry]\nType=Application\nName=x\n" + keys;
    folder_.write(fs::path(place) / "autostart" / fileName, entry);
  }
  std::string content() const {
    std::ifstream stream(userFile());
    return {std::istreambuf_iterator<char>(stream), {}};
  }
  const TemporaryFolder& folder() const { return folder_; }

  ProgramBundle bundle;

 private:
  static constexpr const char* fileName = "com.qarvin.stowboard.desktop";

  TemporaryFolder folder_;
  XdgAutostart items_{bundle};
  bool isRefusing_ = false;
};

INSTANTIATE_TYPED_TEST_SUITE_P(Xdg, LoginItemsContract, Autostart);

TEST(XdgAutostart, IsOnOnlyWhereTheFileThatCountsWouldStartTheProgramHere) {
  struct Case {
    const char* keys;
    Status status;
  };
  const Case cases[] = {
      {"Exec=/bin/true", Status::enabled},
      {"Exec=true --option", Status::enabled},
      {"Exec=\"/bin/true\" %U", Status::enabled},
      {"Exec=/bin/true\nHidden=false\nX-GNOME-Autostart-enabled=true", Status::enabled},
      {"Exec=/bin/true\nHidden = true ", Status::notRegistered},
      {"Exec=/bin/true\n# Hidden=true\n[Desktop Action x]\nHidden=true", Status::enabled},
      {"Exec=/bin/true\nX-GNOME-Autostart-enabled=false", Status::notRegistered},
      {"Exec=/bin/true\nX-MATE-Autostart-Enabled=false", Status::notRegistered},
      {"Exec=/bin/true\nOnlyShowIn=KDE;Other;", Status::enabled},
      {"Exec=/bin/true\nOnlyShowIn=GNOME;", Status::notRegistered},
      {"Exec=/bin/true\nOnlyShowIn=", Status::notRegistered},
      {"Exec=/bin/true\nNotShowIn=GNOME;Plasma", Status::notRegistered},
      {"Exec=/bin/true\nNotShowIn=GNOME", Status::enabled},
      {"Exec=/bin/true\nTryExec=true", Status::enabled},
      {"Exec=/bin/true\nTryExec=no-such-program", Status::notFound},
      {"Exec=/nonexistent/stowboard", Status::notFound},
      {"Exec=", Status::notFound},
  };
  for (const auto* place : {"home", "system"}) {
    Autostart autostart;
    autostart.bundle.variables = {{"XDG_CURRENT_DESKTOP", "Plasma:KDE"}, {"PATH", "/none:/bin"}};
    for (const auto& each : cases) {
      autostart.write(place, each.keys);
      EXPECT_EQ(autostart.items().status(), each.status) << place << ": " << each.keys;
    }
  }
}

TEST(XdgAutostart, LetsTheUsersFileOverrideTheSystemWideOne) {
  Autostart autostart;
  const std::string on = "Exec=/bin/true\n";
  autostart.write("system", on);
  autostart.write("home", on + "Hidden=true\n");
  EXPECT_EQ(autostart.items().status(), Status::notRegistered);
  EXPECT_EQ(autostart.items().registerApplication(), std::nullopt);
  EXPECT_EQ(autostart.items().status(), Status::enabled);
  EXPECT_EQ(autostart.items().unregisterApplication(), std::nullopt);
  EXPECT_EQ(autostart.items().status(), Status::notRegistered);
  fs::remove(autostart.userFile());
  EXPECT_EQ(autostart.items().status(), Status::enabled) << "the system-wide one is untouched";
  EXPECT_EQ(autostart.items().unregisterApplication(), std::nullopt);
  EXPECT_EQ(autostart.items().status(), Status::notRegistered) << "no user's file to begin with";
}

TEST(XdgAutostart, KeepsWhatIsNotItsOwnAndClearsWhatStandsInItsWay) {
  Autostart autostart;
  autostart.write("home",
                  "# mine\nX-GNOME-Autostart-Delay=7\nComment[de]=Merkt\nHidden=true\nHidden=true\n"
                  "Exec=/old/stowboard\nOnlyShowIn=Other;\nTryExec=/old/stowboard\n"
                  "X-MATE-Autostart-enabled=false\nDBusActivatable=true\n\n"
                  "[Desktop Action x]\nExec=other\nHidden=true\n");
  EXPECT_EQ(autostart.items().registerApplication(), std::nullopt);
  EXPECT_EQ(autostart.items().status(), Status::enabled);
  EXPECT_EQ(autostart.content(),
            "[Desktop Entry]\nType=Application\nName=Stowboard\n# mine\n"
            "X-GNOME-Autostart-Delay=7\nComment[de]=Merkt\nExec=\"/bin/true\"\n"
            "Comment=Keeps what you copy and puts it back where you work\n"
            "Comment[zh_CN]=记录复制的内容，随时粘贴回正在使用的应用\n"
            "Terminal=false\nStartupNotify=false\nIcon=com.qarvin.stowboard\n"
            "X-GNOME-Autostart-enabled=true\n\n"
            "[Desktop Action x]\nExec=other\nHidden=true\n");
}

TEST(XdgAutostart, QuotesTheProgramsPath) {
  const struct {
    const char* name;
    const char* inFile;
  } cases[] = {{"with space", "with space"},        {"100%U", "100%%U"},
               {"$HOME`id`", R"(\\$HOME\\`id\\`)"}, {R"(a"b\c)", R"(a\\"b\\\\c)"},
               {"two\nlines\t", R"(two\nlines\t)"}, {"é (deleted)", "é (deleted)"}};
  for (const auto& each : cases) {
    Autostart autostart;
    autostart.bundle.program = autostart.folder().path() / each.name;
    fs::copy_file("/bin/true", autostart.bundle.program);
    EXPECT_EQ(autostart.items().registerApplication(), std::nullopt);
    const std::string folder = autostart.folder().path().string();
    EXPECT_THAT(autostart.content(), HasSubstr("\nExec=\"" + folder + "/" + each.inFile + "\"\n"));
    EXPECT_EQ(autostart.items().status(), Status::enabled) << each.name;
  }
}

TEST(XdgAutostart, NamesTheProgramThatAnUpdateHasReplaced) {
  Autostart autostart;
  autostart.bundle.program = "/bin/true (deleted)";
  EXPECT_EQ(autostart.items().registerApplication(), std::nullopt);
  EXPECT_EQ(autostart.items().status(), Status::enabled);
  autostart.bundle.program.clear();
  EXPECT_EQ(autostart.items().registerApplication(), "No such file or directory");
}

TEST(XdgAutostart, MakesPrivateFoldersOrSaysWhyNot) {
  Autostart autostart;
  EXPECT_EQ(autostart.items().registerApplication(), std::nullopt);
  struct stat folder{};
  ASSERT_EQ(stat(autostart.userFile().parent_path().c_str(), &folder), 0);
  EXPECT_EQ(folder.st_mode & 0777u, 0700u);
  autostart.refuseChanges();
  EXPECT_EQ(autostart.items().unregisterApplication(), "Permission denied");
  EXPECT_EQ(autostart.items().registerApplication(), "Permission denied");
}

TEST(XdgAutostart, SaysSoWhereAFileStandsInThePlaceOfTheFolder) {
  Autostart autostart;
  autostart.folder().write("home", "a file");
  EXPECT_EQ(autostart.items().status(), Status::notRegistered);
  EXPECT_EQ(autostart.items().registerApplication(), "Not a directory");
  EXPECT_EQ(autostart.items().unregisterApplication(), "Not a directory");
}

}  // namespace
}  // namespace stowboard
