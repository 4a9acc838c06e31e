#include "Platform/Desktop/Applications/ApplicationIds.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "Platform/Desktop/TemporaryFolder.h"

namespace stowboard {
namespace {

namespace fs = std::filesystem;

DesktopEntry entry(const char* id, const char* exec, const char* more = "") {
  const std::string content =
      std::string("[Desktop Entry]\nType=Application\nExec=") + exec + "\n" + more + "\n";
  return *DesktopEntry::parse(id, content);
}

std::vector<DesktopEntry> installed() {
  return {
      entry("org.gnome.TextEditor", "gnome-text-editor %U"),
      entry("org.gnome.Nautilus", "nautilus --new-window %U"),
      entry("nautilus-autorun", "nautilus-autorun", "NoDisplay=true"),
      entry("org.kde.kate", "kate -b %U"),
      entry("org.mozilla.firefox", "/usr/bin/flatpak run org.mozilla.firefox",
            "StartupWMClass=firefox"),
      entry("firefox", "/usr/lib/firefox/firefox %u", "StartupWMClass=firefox"),
      entry("firefox_firefox", "env BAMF=1 A=b /snap/bin/firefox %u"),
      entry("debian-xterm", "xterm", "StartupWMClass=XTerm"),
      entry("writer", "libreoffice --writer %U", "StartupWMClass=libreoffice-writer"),
      entry("calc", "libreoffice --calc %U", "StartupWMClass=libreoffice-calc"),
      entry("notes-app", "python3 /opt/notes/main.py"),
      entry("vi", "vim-tiny %F", "Terminal=true"),
      entry("mytool", "\"/opt/my tool/tool-bin\" %f"),
      entry("com.one.Viewer", "one"),
      entry("com.two.Viewer", "two"),
  };
}

struct Traits {
  WindowTraits window;
  ProcessTraits process;
};

struct IdCase {
  const char* what;
  Traits traits;
  std::optional<std::string> id;
};

Traits classes(const char* instance, const char* wmClass, const char* program = "") {
  Traits traits;
  traits.window.wmClassInstance = instance;
  traits.window.wmClass = wmClass;
  traits.process.executable = program;
  return traits;
}

Traits with(Traits traits, std::string WindowTraits::* field, const char* value) {
  traits.window.*field = value;
  return traits;
}

Traits inFlatpak(Traits traits, const char* id) {
  traits.process.flatpak = id;
  return traits;
}

Traits inSnap(Traits traits, const char* snap, const char* application) {
  traits.process.snap = snap;
  traits.process.snapApplication = application;
  return traits;
}

TEST(ApplicationIds, FindsTheDesktopEntryOfAWindow) {
  const auto file = &WindowTraits::desktopFile;
  const auto gtk = &WindowTraits::gtkApplicationId;
  const Traits browser = classes("Navigator", "firefox", "firefox");
  const IdCase cases[] = {
      {"names its entry", with(classes("x", "Kate"), file, "org.kde.kate"), "org.kde.kate"},
      {"names its file",
       with(classes("x", "X"), file, "/usr/share/applications/org.kde.kate.desktop"),
       "org.kde.kate"},
      {"GTK id", with(classes("x", "X"), gtk, "org.gnome.Nautilus"), "org.gnome.Nautilus"},
      {"GTK id that is not installed", with(classes("kate", "Kate"), gtk, "org.x.Y"),
       "org.kde.kate"},
      {"Flatpak", inFlatpak(browser, "org.mozilla.firefox"), "org.mozilla.firefox"},
      {"Flatpak without an entry", inFlatpak(browser, "org.other.App"), "firefox"},
      {"Snap", inSnap(browser, "firefox", "firefox"), "firefox_firefox"},
      {"StartupWMClass of several", browser, "firefox"},
      {"StartupWMClass", classes("libreoffice", "libreoffice-writer", "soffice.bin"), "writer"},
      {"StartupWMClass by instance", classes("libreoffice-calc", "Soffice"), "calc"},
      {"id is the class", classes("x", "org.gnome.TextEditor"), "org.gnome.TextEditor"},
      {"id without punctuation", classes("gnome-text-editor", "Gnome-text-editor"),
       "org.gnome.TextEditor"},
      {"end of the id", classes("nautilus", "Nautilus"), "org.gnome.Nautilus"},
      {"end of two ids", classes("viewer", "Viewer"), "Viewer"},
      {"program", classes("win0", "Win", "tool-bin"), "mytool"},
      {"program of one of two ids", classes("viewer", "Viewer", "two"), "com.two.Viewer"},
      {"program named by the instance", classes("tool-bin", "Win"), "mytool"},
      {"program of several", classes("win", "Win", "libreoffice"), "Win"},
      {"interpreter", classes("script.py", "Script.py", "python3"), "Script.py"},
      {"program that runs in a terminal", classes("win", "Win", "vim-tiny"), "Win"},
      {"unknown", classes("xclock", "XClock", "xclock"), "XClock"},
      {"letter case of a fallback is kept", classes("FOO", "FoO"), "FoO"},
      {"no class", classes("", ""), std::nullopt},
      {"instance alone", classes("foo", ""), std::nullopt},
  };
  const DesktopEntries entries(installed());
  for (const auto& [what, traits, id] : cases) {
    EXPECT_EQ(applicationId(traits.window, traits.process, entries), id) << what;
  }
  EXPECT_EQ(applicationId(browser.window, browser.process, DesktopEntries()), "firefox");
}

struct ProcessCase {
  const char* what;
  std::string cgroup;
  const char* flatpakInfo;
  ProcessTraits expected;
};

TEST(ProcessTraits, ReadsWhatARunningProgramBelongsTo) {
  const std::string app = "0::/user.slice/user-1000.slice/user@1000.service/app.slice/";
  const std::string uuid = "7b9a9c0e-0f0e-4a52-9d57-0b3a57ea3a3f";
  const std::string flatpakUnit = app + "app-flatpak-org.x.Some\\x2dApp-8412.scope\n";
  const std::string snapUnit = app + "snap.firefox.firefox-" + uuid + ".scope\n";
  const std::string oldSnapUnit =
      "1:name=systemd:/x/snap.code-x.url-handler." + uuid + ".scope\n0::/user.slice\n";
  const ProcessCase cases[] = {
      {"plain", app + "app-gnome-org.x.Y-77.scope\n", "", {"tool", {}, {}, {}}},
      {"Flatpak",
       "0::/\n",
       "[Instance]\nname=no\n[Application]\nname=org.x.Y\n",
       {"tool", "org.x.Y", {}, {}}},
      {"Flatpak by its unit", flatpakUnit, "", {"tool", "org.x.Some-App", {}, {}}},
      {"Snap", snapUnit, "", {"tool", {}, "firefox", "firefox"}},
      {"older Snap", oldSnapUnit, "", {"tool", {}, "code-x", "url-handler"}},
      {"Snap service",
       "0::/system.slice/snap.lxd.daemon.service\n",
       "",
       {"tool", {}, "lxd", "daemon"}},
      {"broken units", "0::/app-flatpak-x.scope\n0::/snap.x\n", "", {"tool", {}, {}, {}}},
  };
  for (const auto& each : cases) {
    const TemporaryFolder proc;
    proc.write("42/cgroup", each.cgroup);
    if (*each.flatpakInfo) proc.write("42/root/.flatpak-info", each.flatpakInfo);
    fs::create_symlink("/opt/bin/tool (deleted)", proc.path() / "42/exe");
    EXPECT_EQ(ProcessTraits::read(42, proc.path()), each.expected) << each.what;
  }
  EXPECT_EQ(ProcessTraits::read(43, "/nowhere"), ProcessTraits());
  EXPECT_EQ(ProcessTraits::read(getpid()).executable, "platform_desktop_tests");
}

// A program chooses what stands in its own root.
TEST(ProcessTraits, AreNotHeldUpByWhatAProgramPutsIntoItsRoot) {
  const std::string words = "[Application]\nname=org.x.Y\n";
  const std::function<void(const fs::path&)> traps[] = {
      [](const fs::path& info) { ASSERT_EQ(mkfifo(info.c_str(), 0600), 0); },
      [](const fs::path& info) { fs::create_symlink("/dev/zero", info); },
      [](const fs::path& info) { fs::create_directory(info); },
      [&](const fs::path& info) {
        std::ofstream(info) << std::string(1 << 20, '\n') << words;
        fs::resize_file(info, 1LL << 36);
      },
  };
  for (const auto& makeTrap : traps) {
    const TemporaryFolder proc;
    proc.write("42/cgroup", "0::/\n");
    fs::create_directory(proc.path() / "42/root");
    makeTrap(proc.path() / "42/root/.flatpak-info");
    EXPECT_EQ(ProcessTraits::read(42, proc.path()), ProcessTraits());
  }
}

}  // namespace
}  // namespace stowboard
