// The adapters that are told of windows and keys, on a real compositor.
#include <gtest/gtest.h>

#include <QKeyEvent>
#include <QRasterWindow>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Compositor/DeviceKeyEventPoster.h"
#include "Platform/KeyPositions.h"
#include "Platform/Qt/QtRunLoop.h"
#include "Platform/QtTurns.h"
#include "Platform/Wayland/Keys/SwayHotKeys.h"
#include "Platform/Wayland/Keys/VirtualKeyboard.h"
#include "Platform/Wayland/Keys/WaylandAccessibilityTrust.h"
#include "Platform/Wayland/SwayIpc.h"
#include "Platform/Wayland/Windows/WaylandWorkspace.h"
#include "Platform/X11/OtherPrograms.h"
#include "contract/HotKeyCenterContract.h"
#include "contract/KeyEventPosterContract.h"
#include "contract/WorkspaceContract.h"
#include "fakes/FakeApplicationIdentifying.h"
#include "fakes/LogCapture.h"

namespace stowboard {
namespace {

[[maybe_unused]] const auto* const desktopApplication =
    ::testing::AddGlobalTestEnvironment(new DesktopApplication);

const WaylandWorkspace::Own own{"com.qarvin.stowboard", "Stowboard"};

// The user's keyboard, which sway's bindings are pressed on.
class User {
 public:
  void press(const HotKeyConfig& config) {
    std::uint32_t modifiers = 0;
    if (config.modifiers & ModifierMask::shift) modifiers |= 1;
    if (config.modifiers & ModifierMask::control) modifiers |= 4;
    if (config.modifiers & ModifierMask::option) modifiers |= 8;
    if (config.modifiers & ModifierMask::command) modifiers |= 64;
    keyboard_->type(*xkbKeyCode(config.keyCode), modifiers | locked, [] {});
  }

  /// XKB's mask of lock keys that are on.
  std::uint32_t locked = 0;

 private:
  std::unique_ptr<VirtualKeyboard> keyboard_ =
      VirtualKeyboard::create(WaylandMainConnection::open());
};

/// The user's configuration of sway, as it was again afterwards.
class Configuration {
 public:
  explicit Configuration(SwayIpc& sway)
      : sway_(sway), file_(sway.configurationFile()), before_(sway.configuration()) {}
  ~Configuration() { write(before_); }

  void add(const std::string& line) { write(before_ + line + "\n"); }
  void takeBack() { write(before_); }

 private:
  void write(const std::string& text) {
    std::ofstream(file_, std::ios::trunc) << text;
    EXPECT_TRUE(sway_.run("reload"));
  }

  SwayIpc& sway_;
  const std::filesystem::path file_;
  const std::string before_;
};

class SwayHotKeysHarness {
 public:
  SwayHotKeys& center() { return *hotKeys_; }
  User& user() { return user_; }
  Configuration& configuration() { return configuration_; }
  bool turnUntil(const std::function<bool()>& condition) { return turnQtUntil(condition); }

  void press(const HotKeyConfig& config) { user_.press(config); }
  void holdElsewhere(const HotKeyConfig& config) {
    configuration_.add("bindcode Mod4+Mod1+" + std::to_string(*xkbKeyCode(config.keyCode)) +
                       " nop");
    EXPECT_TRUE(turnUntil([&] { return !isFree(config); }));
  }
  void releaseElsewhere(const HotKeyConfig& config) {
    configuration_.takeBack();
    EXPECT_TRUE(turnUntil([&] { return isFree(config); }));
  }

 private:
  bool isFree(const HotKeyConfig& config) {
    const auto reference = hotKeys_->registerHotKey(config, {}).reference;
    hotKeys_->unregisterHotKey(reference);
    return reference != 0;
  }

  std::shared_ptr<SwayIpc> sway_ = SwayIpc::open();
  Configuration configuration_{*sway_};
  User user_;
  std::unique_ptr<SwayHotKeys> hotKeys_ = std::make_unique<SwayHotKeys>(sway_);
};

INSTANTIATE_TYPED_TEST_SUITE_P(Sway, HotKeyCenterContract, SwayHotKeysHarness);

using SwayHotKeysTest = HotKeyCenterContract<SwayHotKeysHarness>;

TEST_F(SwayHotKeysTest, WorkWithLockKeysOn) {
  take(panel_, 1);
  for (const std::uint32_t locked : {2U, 16U, 18U}) {  // Caps Lock, Num Lock
    harness_.user().locked = locked;
    pressed_.clear();
    harness_.press(panel_);
    EXPECT_TRUE(delivers({1})) << locked;
  }
}

TEST_F(SwayHotKeysTest, AreThereAgainWhenTheConfigurationIsReadAgain) {
  const LogCapture log;
  take(panel_, 1);
  take(one_, 101);
  harness_.configuration().add("set $mod Mod4\nbindsym $mod+Shift+v nop");
  EXPECT_TRUE(harness_.turnUntil([&] { return !log.lines().empty(); }));
  EXPECT_EQ(log.lines().size(), 1U);
  harness_.press(panel_);
  harness_.press(one_);
  EXPECT_TRUE(delivers({101}));
}

class WaylandWorkspaceHarness {
 public:
  // The next one begins with nothing in front.
  ~WaylandWorkspaceHarness() {
    workspace_->onDidActivate = nullptr;
    for (const auto& [id, window] : windows_) client_.close(window);
    EXPECT_TRUE(turnUntil([&] { return !workspace_->frontmostApplication(); }));
  }

  Workspace& workspace() { return *workspace_; }
  bool turnUntil(const std::function<bool()>& condition) { return turnQtUntil(condition); }

  void activate(const std::string& id) {
    if (!windows_.contains(id)) windows_[id] = client_.open(id);
    EXPECT_TRUE(turnUntil([&] {
      if (!sway_->run("[class=\"^" + id + "$\"] focus")) return false;
      const auto application = workspace_->frontmostApplication();
      return application && application->bundleIdentifier == id;
    }));
  }
  void leaveFront() { sway_->run("workspace 9"); }
  void close(const std::string& id) {
    client_.close(windows_[id]);
    windows_.erase(id);
  }

 private:
  // Sway refuses to look for windows that are not there yet.
  const LogCapture log_;
  std::shared_ptr<SwayIpc> sway_ = SwayIpc::open();
  FakeApplicationIdentifying applications_;
  std::unique_ptr<WaylandWorkspace> workspace_ =
      WaylandWorkspace::create(WaylandMainConnection::open(), applications_, own);
  Client client_;
  std::map<std::string, xcb_window_t> windows_;
};

INSTANTIATE_TYPED_TEST_SUITE_P(Wayland, WorkspaceContract, WaylandWorkspaceHarness);

/// A program that writes down which keys it sees.
class Target final : public QRasterWindow {
 public:
  Target() {
    resize(200, 100);
    show();
  }
  std::vector<std::string> seen;

 private:
  void keyPressEvent(QKeyEvent* event) override {
    const bool isPaste = event->key() == Qt::Key_V && event->modifiers() == Qt::ControlModifier;
    const bool isReturn = event->key() == Qt::Key_Return && event->modifiers() == Qt::NoModifier;
    seen.emplace_back(isPaste ? "paste" : isReturn ? "return" : "other");
  }
};

class WaylandKeyEventHarness {
 public:
  WaylandKeyEventHarness() {
    DeviceKeyEventPoster::Surroundings around;
    around.frontmost = [this] { return workspace_->frontmostApplication(); };
    around.windowClass = [this](auto window) { return workspace_->windowClass(window); };
    around.awaitedWindow = [this] { return workspace_->awaitedWindow(); };
    around.whenPublished = [this](auto done) {
      if (isPublishingHeld) {
        held = std::move(done);
      } else {
        done();
      }
    };
    poster_ = std::make_unique<DeviceKeyEventPoster>(VirtualKeyboard::create(connection_), loop_,
                                                     applications_, std::move(around));
    workspace_->follow([this] { poster_->frontDidChange(); });
    EXPECT_TRUE(
        turnUntil([&] { return workspace_->frontmostApplication() && target_.isActive(); }));
  }

  KeyEventPoster& poster() { return *poster_; }
  std::vector<std::string>& seen() { return target_.seen; }
  bool turnUntil(const std::function<bool()>& condition) { return turnQtUntil(condition); }

  bool isPublishingHeld = false;
  std::function<void()> held;

 private:
  QtRunLoop loop_;
  FakeApplicationIdentifying applications_;
  std::shared_ptr<WaylandMainConnection> connection_ = WaylandMainConnection::open();
  std::unique_ptr<WaylandWorkspace> workspace_ =
      WaylandWorkspace::create(connection_, applications_, own);
  Target target_;
  std::unique_ptr<DeviceKeyEventPoster> poster_;
};

INSTANTIATE_TYPED_TEST_SUITE_P(Wayland, KeyEventPosterContract, WaylandKeyEventHarness);

using WaylandKeyEventPosterTest = KeyEventPosterContract<WaylandKeyEventHarness>;

TEST_F(WaylandKeyEventPosterTest, WaitsForTheClipWithAllThatComesAfterIt) {
  harness_.isPublishingHeld = true;
  post(9, KeyEventFlags::command);
  post(36, KeyEventFlags::none);
  bool isSent = false;
  harness_.poster().whenSent([&] { isSent = true; });
  ASSERT_TRUE(harness_.turnUntil([&] { return harness_.held != nullptr; }));
  EXPECT_TRUE(harness_.seen().empty());
  EXPECT_FALSE(isSent);
  harness_.held();
  EXPECT_TRUE(harness_.turnUntil([&] { return isSent && harness_.seen().size() == 2; }));
  EXPECT_EQ(harness_.seen(), (std::vector<std::string>{"paste", "return"}));
  // One that never comes holds nothing up for long, and is none for the next.
  const LogCapture log;
  post(9, KeyEventFlags::command);
  EXPECT_TRUE(harness_.turnUntil([&] { return harness_.seen().size() == 3; }));
}

TEST(WaylandAccessibilityTrust, IsThereWhereTheCompositorLetsProgramsType) {
  const WaylandAccessibilityTrust trust(WaylandMainConnection::open());
  EXPECT_TRUE(trust.isTrusted());
  EXPECT_FALSE(trust.canOpenSettings());
}

}  // namespace
}  // namespace stowboard
