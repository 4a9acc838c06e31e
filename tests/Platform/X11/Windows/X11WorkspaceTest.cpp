#include "Platform/X11/Windows/X11Workspace.h"

#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QProcess>
#include <QProcessEnvironment>
#include <QRasterWindow>
#include <algorithm>
#include <array>
#include <cstdlib>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "Platform/Desktop/Applications/InstalledApplications.h"
#include "Platform/Desktop/TemporaryFolder.h"
#include "Platform/Qt/QtRunLoop.h"
#include "Platform/QtTurns.h"
#include "Platform/X11/X11Connection.h"
#include "contract/WorkspaceContract.h"
#include "fakes/LogCapture.h"

namespace stowboard {
namespace {

using Strings = std::vector<std::string>;

/// A program that ends with the scope, by its process id.
class Program {
 public:
  explicit Program(const QStringList& command) {
    process_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process_.start(command.front(), command.mid(1));
    EXPECT_TRUE(process_.waitForStarted()) << command.front().toStdString();
  }
  ~Program() { end(); }

  std::int64_t processIdentifier() const { return process_.processId(); }
  void end() {
    process_.kill();
    process_.waitForFinished();
  }

 private:
  QProcess process_;
};

/// A client of the window manager's with windows of any traits.
class Client {
 public:
  Client() : connection_(X11Connection::open("")) {}

  X11Connection& connection() { return *connection_; }

  /// WM_CLASS is that name twice; `machine` is where the window says it runs.
  xcb_window_t open(const std::string& name, const std::string& machine) {
    const auto window = xcb_generate_id(xcb());
    xcb_create_window(xcb(), XCB_COPY_FROM_PARENT, window, connection_->root(), 0, 0, 80, 60, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
    setText(window, XCB_ATOM_WM_CLASS, name + '\0' + name + '\0');
    setText(window, XCB_ATOM_WM_CLIENT_MACHINE, machine);
    xcb_map_window(xcb(), window);
    xcb_flush(xcb());
    return window;
  }

  void setText(xcb_window_t window, xcb_atom_t property, const std::string& text) {
    xcb_change_property(xcb(), XCB_PROP_MODE_REPLACE, window, property, XCB_ATOM_STRING, 8,
                        static_cast<std::uint32_t>(text.size()), text.data());
    xcb_flush(xcb());
  }

  /// _NET_SUPPORTING_WM_CHECK, another window for every window manager.
  std::string manager() {
    const auto property = connection_->atom("_NET_SUPPORTING_WM_CHECK");
    const XcbPointer<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        xcb(), xcb_get_property(xcb(), 0, connection_->root(), property, XCB_ATOM_WINDOW, 0, 1),
        nullptr));
    return {static_cast<const char*>(xcb_get_property_value(reply.get())),
            static_cast<std::size_t>(xcb_get_property_value_length(reply.get()))};
  }

  void activate(xcb_window_t window) {
    sendToManager(window, "_NET_ACTIVE_WINDOW", {2, XCB_CURRENT_TIME, 0, 0, 0});
  }
  void iconify(xcb_window_t window) { sendToManager(window, "WM_CHANGE_STATE", {3, 0, 0, 0, 0}); }
  void close(xcb_window_t window) {
    xcb_destroy_window(xcb(), window);
    xcb_flush(xcb());
  }

 private:
  xcb_connection_t* xcb() { return connection_->xcb(); }

  void sendToManager(xcb_window_t window, const char* type, std::array<std::uint32_t, 5> data) {
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = connection_->atom(type);
    std::copy(data.begin(), data.end(), message.data.data32);
    xcb_send_event(xcb(), 0, connection_->root(),
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char*>(&message));
    xcb_flush(xcb());
  }

  std::unique_ptr<X11Connection> connection_;
};

/// One application object for the whole program: Qt does not clear everything up behind several.
class DesktopApplication final : public ::testing::Environment {
 public:
  void SetUp() override { application_ = std::make_unique<QGuiApplication>(argc_, argv_); }
  void TearDown() override { application_.reset(); }

 private:
  int argc_ = 1;
  char name_[5] = "test";
  char* argv_[2] = {name_, nullptr};
  std::unique_ptr<QGuiApplication> application_;
};

[[maybe_unused]] const auto* const desktopApplication =
    ::testing::AddGlobalTestEnvironment(new DesktopApplication);

class RealWorkspaceHarness {
 public:
  explicit RealWorkspaceHarness(std::vector<std::filesystem::path> dataFolders = {})
      : applications_(std::move(dataFolders)),
        workspace_(X11Workspace::create(loop_, applications_)) {}

  Workspace& workspace() { return *workspace_; }
  Client& client() { return client_; }
  bool turnUntil(const std::function<bool()>& condition) { return turnQtUntil(condition); }

  /// The windows claim another machine, so that they are not taken for this process's own.
  void activate(const std::string& id) {
    if (!windows_.contains(id)) windows_[id] = client_.open(id, "elsewhere.example.org");
    const auto window = windows_[id];
    // The window manager has to know the window first.
    EXPECT_TRUE(turnUntil([&] {
      client_.activate(window);
      const auto application = workspace_->frontmostApplication();
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
      const auto application = workspace_->frontmostApplication();
      if (!application || application->bundleIdentifier != id) return false;
      return processIdentifier == 0 || application->processIdentifier == processIdentifier;
    });
  }

 private:
  QtRunLoop loop_;
  InstalledApplications applications_;
  std::unique_ptr<X11Workspace> workspace_;
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
    windows.push_back(harness.client().open("Brief" + std::to_string(round), "elsewhere"));
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

TEST(X11Workspace, IsNotMadeWithoutAnXServer) {
  QtRunLoop loop;
  const InstalledApplications applications(std::vector<std::filesystem::path>{});
  EXPECT_FALSE(X11Workspace::create(loop, applications, "/nowhere:99"));
  EXPECT_FALSE(X11Workspace::create(loop, applications, "no display"));
}

TEST(X11Workspace, SurvivesTheEndOfItsServer) {
  LogCapture log;
  QProcess server;
  server.setProcessChannelMode(QProcess::SeparateChannels);
  server.start("Xvfb", {"-displayfd", "1", "-nolisten", "tcp"});
  ASSERT_TRUE(server.waitForStarted());
  while (!server.canReadLine()) ASSERT_TRUE(server.waitForReadyRead());
  const std::string display = ":" + server.readLine().trimmed().toStdString();
  QtRunLoop loop;
  const InstalledApplications applications(std::vector<std::filesystem::path>{});
  const auto workspace = X11Workspace::create(loop, applications, display);
  ASSERT_TRUE(workspace);
  EXPECT_FALSE(workspace->frontmostApplication());
  server.kill();
  server.waitForFinished();
  EXPECT_TRUE(turnQtUntil([&] { return !log.errors("app").empty(); }));
  EXPECT_FALSE(workspace->frontmostApplication());
}

}  // namespace
}  // namespace stowboard
