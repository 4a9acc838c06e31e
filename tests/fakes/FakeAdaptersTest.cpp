#include <gtest/gtest.h>

#include <functional>

#include "contract/AccessibilityTrustContract.h"
#include "contract/CompositingContract.h"
#include "contract/DesktopAppearanceContract.h"
#include "contract/FileOpenerContract.h"
#include "contract/HotKeyCenterContract.h"
#include "contract/ImageCodecContract.h"
#include "contract/KeyEventPosterContract.h"
#include "contract/RunLoopContract.h"
#include "contract/StatusItemContract.h"
#include "contract/TransientWindowsContract.h"
#include "contract/WorkspaceContract.h"
#include "fakes/FakeAccessibilityTrust.h"
#include "fakes/FakeCompositing.h"
#include "fakes/FakeDesktopAppearance.h"
#include "fakes/FakeFileOpener.h"
#include "fakes/FakeHotKeyCenter.h"
#include "fakes/FakeImageCodec.h"
#include "fakes/FakeKeyEventPoster.h"
#include "fakes/FakeRunLoop.h"
#include "fakes/FakeStatusItem.h"
#include "fakes/FakeTransientWindows.h"
#include "fakes/FakeWorkspace.h"

namespace stowboard {
namespace {

class FakeRunLoopHarness {
 public:
  RunLoop& loop() { return loop_; }
  bool turnUntil(const std::function<bool()>& condition) {
    for (int turn = 0; turn < 1'000'000; ++turn) {
      if (condition()) return true;
      loop_.advance(std::chrono::milliseconds(1));
    }
    return false;
  }

 private:
  FakeRunLoop loop_;
};

class FakeWorkspaceHarness {
 public:
  Workspace& workspace() { return workspace_; }
  void activate(const std::string& id) { workspace_.bringToFront(id); }
  void leaveFront() { workspace_.setFrontmost(std::nullopt); }
  void close(const std::string& id) {
    RunningApplication application;
    application.bundleIdentifier = id;
    workspace_.terminated.push_back(application);
  }
  bool turnUntil(const std::function<bool()>& condition) { return condition(); }

 private:
  FakeWorkspace workspace_;
};

class FakeImageCodecHarness {
 public:
  ImageCodec& codec() { return codec_; }
  Bytes picture(int width, int height) { return FakeImageCodec::encoded(width, height); }

 private:
  FakeImageCodec codec_;
};

class FakeHotKeyHarness {
 public:
  HotKeyCenter& center() { return center_; }
  void press(const HotKeyConfig& config) { center_.press(config); }
  void holdElsewhere(const HotKeyConfig& config) { center_.taken = {config}; }
  void releaseElsewhere(const HotKeyConfig&) { center_.taken.clear(); }
  bool turnUntil(const std::function<bool()>& condition) { return condition(); }

 private:
  FakeHotKeyCenter center_;
};

class FakeAppearanceHarness {
 public:
  DesktopAppearance& appearance() { return appearance_; }
  void prefer(const Appearance& wanted) { appearance_.prefer(wanted); }
  bool turnUntil(const std::function<bool()>& condition) { return condition(); }

 private:
  FakeDesktopAppearance appearance_;
};

class FakeFileOpenerHarness {
 public:
  FileOpener& opener() { return opener_; }
  std::vector<std::string> opened() { return {opener_.opened.begin(), opener_.opened.end()}; }
  bool turnUntil(const std::function<bool()>& condition) { return condition(); }

 private:
  FakeFileOpener opener_;
};

class FakeStatusItemHarness {
 public:
  StatusItem& item() { return item_; }
  std::optional<std::vector<std::string>> menu() {
    if (!item_.isShown()) return std::nullopt;
    std::vector<std::string> titles;
    for (const auto& entry : item_.content.menu()) titles.push_back(entry.title);
    return titles;
  }
  void click() { item_.content.onActivate({}); }
  void choose(const std::string& title) { item_.choose(title); }
  bool turnUntil(const std::function<bool()>& condition) { return condition(); }

 private:
  FakeStatusItem item_;
};

INSTANTIATE_TYPED_TEST_SUITE_P(Fake, DesktopAppearanceContract, FakeAppearanceHarness);
INSTANTIATE_TYPED_TEST_SUITE_P(Fake, FileOpenerContract, FakeFileOpenerHarness);
INSTANTIATE_TYPED_TEST_SUITE_P(Fake, StatusItemContract, FakeStatusItemHarness);
class FakeKeyEventHarness {
 public:
  KeyEventPoster& poster() { return poster_; }
  std::vector<std::string> seen() const {
    std::vector<std::string> strokes;
    for (const auto& event : poster_.posted) {
      if (event.isKeyDown) strokes.push_back(event.keyCode == 36 ? "return" : "paste");
    }
    return strokes;
  }
  bool turnUntil(const std::function<bool()>& condition) { return condition(); }

 private:
  FakeKeyEventPoster poster_;
};

class FakeTrustHarness {
 public:
  FakeTrustHarness() { granted_.trusted = true; }
  AccessibilityTrust& granted() { return granted_; }
  AccessibilityTrust& withheld() { return withheld_; }

 private:
  FakeAccessibilityTrust granted_;
  FakeAccessibilityTrust withheld_;
};

class FakeCompositingHarness {
 public:
  Compositing& compositing() { return compositing_; }
  void start() { compositing_.setRunning(true); }
  void end() { compositing_.setRunning(false); }
  bool turnUntil(const std::function<bool()>& condition) { return condition(); }

 private:
  FakeCompositing compositing_;
};

class FakeTransientWindowsHarness {
 public:
  TransientWindows& windows() { return windows_; }
  std::uint64_t window() const { return 1; }
  void clickOutside() { windows_.clickOutside(); }
  void clickInside() {}
  void turnWheelOutside() {}
  bool turnUntil(const std::function<bool()>& condition) { return condition(); }

 private:
  FakeTransientWindows windows_;
};

INSTANTIATE_TYPED_TEST_SUITE_P(Fake, AccessibilityTrustContract, FakeTrustHarness);
INSTANTIATE_TYPED_TEST_SUITE_P(Fake, CompositingContract, FakeCompositingHarness);
INSTANTIATE_TYPED_TEST_SUITE_P(Fake, HotKeyCenterContract, FakeHotKeyHarness);
INSTANTIATE_TYPED_TEST_SUITE_P(Fake, KeyEventPosterContract, FakeKeyEventHarness);
INSTANTIATE_TYPED_TEST_SUITE_P(Fake, RunLoopContract, FakeRunLoopHarness);
INSTANTIATE_TYPED_TEST_SUITE_P(Fake, TransientWindowsContract, FakeTransientWindowsHarness);
INSTANTIATE_TYPED_TEST_SUITE_P(Fake, WorkspaceContract, FakeWorkspaceHarness);
INSTANTIATE_TYPED_TEST_SUITE_P(Fake, ImageCodecContract, FakeImageCodecHarness);

}  // namespace
}  // namespace stowboard
