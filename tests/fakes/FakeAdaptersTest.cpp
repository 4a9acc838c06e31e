#include <gtest/gtest.h>

#include <functional>

#include "contract/AccessibilityTrustContract.h"
#include "contract/ApplicationIdentifyingContract.h"
#include "contract/BundleContract.h"
#include "contract/CompositingContract.h"
#include "contract/DesktopAppearanceContract.h"
#include "contract/FileOpenerContract.h"
#include "contract/HotKeyCenterContract.h"
#include "contract/ImageCodecContract.h"
#include "contract/KeyEventPosterContract.h"
#include "contract/LoginItemsContract.h"
#include "contract/PasteboardContract.h"
#include "contract/RunLoopContract.h"
#include "contract/StatusItemContract.h"
#include "contract/TransientWindowsContract.h"
#include "contract/WorkspaceContract.h"
#include "fakes/FakeAccessibilityTrust.h"
#include "fakes/FakeApplicationIdentifying.h"
#include "fakes/FakeBundle.h"
#include "fakes/FakeCompositing.h"
#include "fakes/FakeDesktopAppearance.h"
#include "fakes/FakeFileOpener.h"
#include "fakes/FakeHotKeyCenter.h"
#include "fakes/FakeImageCodec.h"
#include "fakes/FakeKeyEventPoster.h"
#include "fakes/FakeLoginItems.h"
#include "fakes/FakePasteboard.h"
#include "fakes/FakeRunLoop.h"
#include "fakes/FakeStatusItem.h"
#include "fakes/FakeTransientWindows.h"
#include "fakes/FakeWorkspace.h"

namespace stowboard {
namespace {

/// A fake does at once what it is told.
template <typename Fake>
struct Immediate {
  bool turnUntil(const std::function<bool()>& condition) { return condition(); }
  Fake fake;
};

struct RunLoopHarness {
  RunLoop& loop() { return fake; }
  bool turnUntil(const std::function<bool()>& condition) {
    for (int turn = 0; turn < 1'000'000; ++turn) {
      if (condition()) return true;
      fake.advance(std::chrono::milliseconds(1));
    }
    return false;
  }
  FakeRunLoop fake;
};

struct WorkspaceHarness : Immediate<FakeWorkspace> {
  Workspace& workspace() { return fake; }
  void activate(const std::string& id) { fake.bringToFront(id); }
  void leaveFront() { fake.setFrontmost(std::nullopt); }
  void close(const std::string& id) { fake.terminated.push_back({.bundleIdentifier = id}); }
};

struct ImageCodecHarness {
  ImageCodec& codec() { return fake; }
  Bytes picture(int width, int height) { return FakeImageCodec::encoded(width, height); }
  FakeImageCodec fake;
};

struct HotKeyHarness : Immediate<FakeHotKeyCenter> {
  HotKeyCenter& center() { return fake; }
  void press(const HotKeyConfig& config) { fake.press(config); }
  void holdElsewhere(const HotKeyConfig& config) { fake.taken = {config}; }
  void releaseElsewhere(const HotKeyConfig&) { fake.taken.clear(); }
};

struct AppearanceHarness : Immediate<FakeDesktopAppearance> {
  DesktopAppearance& appearance() { return fake; }
  void prefer(const Appearance& wanted) { fake.prefer(wanted); }
};

struct FileOpenerHarness : Immediate<FakeFileOpener> {
  FileOpener& opener() { return fake; }
  std::vector<std::string> opened() { return {fake.opened.begin(), fake.opened.end()}; }
};

struct StatusItemHarness : Immediate<FakeStatusItem> {
  StatusItem& item() { return fake; }
  std::optional<std::vector<std::string>> menu() {
    if (!fake.isShown()) return std::nullopt;
    std::vector<std::string> titles;
    for (const auto& entry : fake.content.menu()) titles.push_back(entry.title);
    return titles;
  }
  void click() { fake.content.onActivate({}); }
  void choose(const std::string& title) { fake.choose(title); }
};

struct KeyEventHarness : Immediate<FakeKeyEventPoster> {
  KeyEventPoster& poster() { return fake; }
  std::vector<std::string> seen() const {
    std::vector<std::string> strokes;
    for (const auto& event : fake.posted) {
      if (event.isKeyDown) strokes.push_back(event.keyCode == 36 ? "return" : "paste");
    }
    return strokes;
  }
};

struct TrustHarness {
  AccessibilityTrust& granted() {
    trusting.trusted = true;
    return trusting;
  }
  AccessibilityTrust& withheld() { return distrusting; }
  FakeAccessibilityTrust trusting;
  FakeAccessibilityTrust distrusting;
};

struct CompositingHarness : Immediate<FakeCompositing> {
  Compositing& compositing() { return fake; }
  void start() { fake.setRunning(true); }
  void end() { fake.setRunning(false); }
};

struct TransientWindowsHarness : Immediate<FakeTransientWindows> {
  TransientWindows& windows() { return fake; }
  std::uint64_t window() const { return 1; }
  void clickOutside() { fake.clickOutside(); }
  void clickInside() {}
  void turnWheelOutside() {}
};

struct LoginItemsHarness {
  LoginItems& items() { return fake; }
  void refuseChanges() { fake.failure = "Read-only file system"; }
  FakeLoginItems fake;
};

struct PasteboardDriver {
  Pasteboard& pasteboard() { return fake; }
  void copy(FakePasteboard::Content content) { fake.copy(std::move(content)); }
  void endOwner() {}
  FakePasteboard fake;
};

struct BundleHarness {
  FakeBundle& bundle() { return fake; }
  void set(const char* name, const char* value) { fake.variables[name] = value; }
  FakeBundle fake{"/data"};
};

struct ApplicationsHarness {
  ApplicationIdentifying& applications() { return fake; }
  FakeApplicationIdentifying fake;
};

INSTANTIATE_TYPED_TEST_SUITE_P(Fake, AccessibilityTrustContract, TrustHarness);
INSTANTIATE_TYPED_TEST_SUITE_P(Fake, ApplicationIdentifyingContract, ApplicationsHarness);
INSTANTIATE_TYPED_TEST_SUITE_P(Fake, BundleContract, BundleHarness);
INSTANTIATE_TYPED_TEST_SUITE_P(Fake, CompositingContract, CompositingHarness);
INSTANTIATE_TYPED_TEST_SUITE_P(Fake, DesktopAppearanceContract, AppearanceHarness);
INSTANTIATE_TYPED_TEST_SUITE_P(Fake, FileOpenerContract, FileOpenerHarness);
INSTANTIATE_TYPED_TEST_SUITE_P(Fake, HotKeyCenterContract, HotKeyHarness);
INSTANTIATE_TYPED_TEST_SUITE_P(Fake, ImageCodecContract, ImageCodecHarness);
INSTANTIATE_TYPED_TEST_SUITE_P(Fake, KeyEventPosterContract, KeyEventHarness);
INSTANTIATE_TYPED_TEST_SUITE_P(Fake, LoginItemsContract, LoginItemsHarness);
INSTANTIATE_TYPED_TEST_SUITE_P(Fake, PasteboardContract, PasteboardDriver);
INSTANTIATE_TYPED_TEST_SUITE_P(Fake, RunLoopContract, RunLoopHarness);
INSTANTIATE_TYPED_TEST_SUITE_P(Fake, StatusItemContract, StatusItemHarness);
INSTANTIATE_TYPED_TEST_SUITE_P(Fake, TransientWindowsContract, TransientWindowsHarness);
INSTANTIATE_TYPED_TEST_SUITE_P(Fake, WorkspaceContract, WorkspaceHarness);

}  // namespace
}  // namespace stowboard
