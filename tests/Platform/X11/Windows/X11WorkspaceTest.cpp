#include "Platform/X11/Windows/X11Workspace.h"

#include <gtest/gtest.h>

#include <QRasterWindow>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "Platform/Desktop/Applications/InstalledApplications.h"
#include "Platform/Desktop/TemporaryFolder.h"
#include "Platform/QtTurns.h"
#include "Platform/X11/OtherPrograms.h"
#include "contract/WorkspaceContract.h"
#include "fakes/LogCapture.h"

namespace stowboard {
namespace {

using Strings = std::vector<std::string>;

[[maybe_unused]] const auto* const desktopApplication =
    ::testing::AddGlobalTestEnvironment(new DesktopApplication);

class RealWorkspaceHarness {
 public:
  explicit RealWorkspaceHarness(std::vector<std::filesystem::path> dataFolders = {})
      : applications_(std::move(dataFolders)),
        workspace_(X11MainConnection::open(), applications_) {}

  Workspace& workspace() { return workspace_; }
  Client& client() { return client_; }
  bool turnUntil(const std::function<bool()>& condition) { return turnQtUntil(condition); }

  void activate(const std::string& id) {
    if (!windows_.contains(id)) windows_[id] = client_.open(id);
    const auto window = windows_[id];
    // The window manager has to know the window first.
    EXPECT_TRUE(turnUntil([&] {
      client_.activate(window);
      const auto application = workspace_.frontmostApplication();
      return application && application->window == window;
    }));
  }
  void leaveFront() {
    for (const auto& [id, window] : windows_) client_.iconify(window);
  }
  void close(const std::string& id) {
    client_.close(windows_[id]);
    windows_.erase(id);
  }
  bool comesToFront(const std::string& id, std::int64_t processIdentifier = 0) {
    return turnUntil([&] {
      const auto application = workspace_.frontmostApplication();
      if (!application || application->bundleIdentifier != id) return false;
      return processIdentifier == 0 || application->processIdentifier == processIdentifier;
    });
  }

 private:
  InstalledApplications applications_;
  X11Workspace workspace_;
  Client client_;
  std::map<std::string, xcb_window_t> windows_;
};

INSTANTIATE_TYPED_TEST_SUITE_P(X11, WorkspaceContract, RealWorkspaceHarness);

constexpr const char* gtkProgram = R"(
import gi
gi.require_version("Gtk", "3.0")
from gi.repository import Gtk
application = Gtk.Application(application_id="org.example.Notes")
application.connect("activate", lambda it: Gtk.ApplicationWindow(application=it).show())
application.run()
)";

TEST(X11Workspace, NamesRealApplicationsByTheirDesktopEntries) {
  const TemporaryFolder data;
  data.write("applications/org.example.Notes.desktop",
             "[Desktop Entry]\nType=Application\nExec=notes\n");
  data.write("applications/org.example.Terminal.desktop",
             "[Desktop Entry]\nType=Application\nExec=xterm\nStartupWMClass=XTerm\n");
  RealWorkspaceHarness harness({data.path()});
  Strings reported;
  harness.workspace().onDidActivate = [&](const RunningApplication& application) {
    reported.push_back(application.bundleIdentifier.value_or("(none)"));
  };
  Strings expected;
  const auto expectInFront = [&](const std::string& id, std::int64_t processIdentifier) {
    EXPECT_TRUE(harness.comesToFront(id, processIdentifier)) << id;
    expected.push_back(id);
    EXPECT_TRUE(harness.turnUntil([&] { return reported.size() >= expected.size(); })) << id;
    EXPECT_EQ(reported, expected);
  };
  const Program terminal({"xterm"});
  expectInFront("org.example.Terminal", terminal.processIdentifier());
  const Program gtk({"/usr/bin/python3", "-c", gtkProgram});
  expectInFront("org.example.Notes", gtk.processIdentifier());
  // No entry: the WM_CLASS.
  const Program other({"xmessage", "Copied"});
  expectInFront("Xmessage", other.processIdentifier());
  QRasterWindow own;
  own.show();
  expectInFront("com.qarvin.stowboard", QCoreApplication::applicationPid());
}

TEST(X11Workspace, TellsNoProcessOfAnotherMachine) {
  RealWorkspaceHarness harness;
  harness.activate("Elsewhere");
  const auto application = harness.workspace().frontmostApplication();
  ASSERT_TRUE(application);
  EXPECT_EQ(application->bundleIdentifier, "Elsewhere");
  EXPECT_EQ(application->processIdentifier, 0);
}

// A client that closes its window while it is in front, again and again.
TEST(X11Workspace, LosesNoActivationAndReportsNoWindowThatIsGone) {
  RealWorkspaceHarness harness;
  std::set<std::string> reported;
  harness.workspace().onDidActivate = [&](const RunningApplication& application) {
    reported.insert(application.bundleIdentifier.value_or("(none)"));
    harness.workspace().frontmostApplication();
  };
  harness.activate("Steady");
  std::vector<xcb_window_t> windows;
  for (int round = 0; round < 20; ++round) {
    windows.push_back(harness.client().open("Brief" + std::to_string(round)));
    harness.client().activate(windows.back());
    if (round > 0) harness.client().close(windows[round - 1]);
  }
  EXPECT_TRUE(harness.comesToFront("Brief19"));
  EXPECT_TRUE(harness.turnUntil([&] { return reported.contains("Brief19"); }));
  harness.client().close(windows.back());
  harness.activate("Last");
  EXPECT_TRUE(harness.turnUntil([&] { return reported.contains("Last"); }));
  EXPECT_FALSE(reported.contains("(none)"));
}

TEST(X11Workspace, FollowsWindowManagersThatComeAndGo) {
  RealWorkspaceHarness harness;
  harness.activate("First");
  const auto manager = harness.client().manager();
  Program replacing({"openbox", "--replace"});
  EXPECT_TRUE(harness.turnUntil([&] { return harness.client().manager() != manager; }));
  harness.activate("First");

  // Killed, it leaves its properties on the root window.
  replacing.end();
  EXPECT_TRUE(harness.turnUntil([&] { return !harness.workspace().frontmostApplication(); }));
  std::string reported;
  harness.workspace().onDidActivate = [&](const RunningApplication& application) {
    reported = application.bundleIdentifier.value_or("(none)");
  };
  // The last test: this one is left to the session's end.
  QProcess::startDetached("openbox", {});
  harness.activate("Second");
  EXPECT_TRUE(harness.turnUntil([&] { return reported == "Second"; }));
}

TEST(X11Workspace, SurvivesTheEndOfItsServer) {
  const LogCapture log;
  PrivateServer server;
  const InstalledApplications applications(std::vector<std::filesystem::path>{});
  const X11Workspace workspace(X11MainConnection::open(server.display), applications);
  EXPECT_FALSE(workspace.frontmostApplication());
  server.end();
  EXPECT_TRUE(turnQtUntil([&] { return !log.errors("app").empty(); }));
  EXPECT_FALSE(workspace.frontmostApplication());
}

TEST(X11MainConnection, IsNotMadeWithoutAnXServer) {
  EXPECT_FALSE(X11MainConnection::open("/nowhere:99"));
  EXPECT_FALSE(X11MainConnection::open("no display"));
}

// What one adapter waits for takes the events of the others off the socket; a failed request of
// one comes to none.
TEST(X11MainConnection, LosesNoEventToAReplyAndTellsNobodyOfErrors) {
  const auto shared = X11MainConnection::open();
  const auto ours = shared->connection().createWindow(XCB_EVENT_MASK_PROPERTY_CHANGE);
  int changes = 0, settled = 0, others = 0;
  auto first = shared->subscribe({[&](const xcb_generic_event_t& event) {
                                    changes += event.response_type == XCB_PROPERTY_NOTIFY;
                                    others += event.response_type != XCB_PROPERTY_NOTIFY;
                                    return changes > 0;
                                  },
                                  [&] { settled += 1; }});
  const auto second = shared->subscribe({[&](const xcb_generic_event_t&) { return false; }, [] {}});
  xcb_destroy_window(shared->xcb(), 1);
  for (int change = 0; change < 3; ++change) {
    xcb_change_property(shared->xcb(), XCB_PROP_MODE_APPEND, ours, XCB_ATOM_CUT_BUFFER0,
                        XCB_ATOM_STRING, 8, 1, "x");
  }
  awaitReply(xcb_get_input_focus_reply, shared->xcb(), xcb_get_input_focus(shared->xcb()));
  EXPECT_TRUE(turnQtUntil([&] { return settled > 0; }));
  EXPECT_EQ(std::vector({changes, settled, others}), std::vector({3, 1, 0}));
}

TEST(X11MainConnection, SurvivesAListenerThatEndsEverything) {
  auto shared = X11MainConnection::open();
  const auto ours = shared->connection().createWindow(XCB_EVENT_MASK_PROPERTY_CHANGE);
  xcb_change_property(shared->xcb(), XCB_PROP_MODE_APPEND, ours, XCB_ATOM_CUT_BUFFER0,
                      XCB_ATOM_STRING, 8, 1, "x");
  xcb_flush(shared->xcb());
  X11MainConnection::Subscription one, two;
  int calls = 0;
  const auto end = [&](const xcb_generic_event_t&) {
    one = two = nullptr;
    shared = nullptr;
    calls += 1;
    return true;
  };
  const auto settle = [&] { calls += 100; };
  one = shared->subscribe({end, settle});
  two = shared->subscribe({end, settle});
  EXPECT_TRUE(turnQtUntil([&] { return calls > 0; }));
  EXPECT_EQ(calls, 1);
}

}  // namespace
}  // namespace stowboard
