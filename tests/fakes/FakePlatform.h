#pragma once

#include <stdlib.h>

#include <filesystem>
#include <memory>
#include <string>

#include "Platform/Inert.h"
#include "Platform/Platform.h"
#include "fakes/FakeBundle.h"
#include "fakes/FakeFileOpener.h"
#include "fakes/FakeHotKeyCenter.h"
#include "fakes/FakeImageCodec.h"
#include "fakes/FakeKeyEventPoster.h"
#include "fakes/FakeLoginItems.h"
#include "fakes/FakePasteboard.h"
#include "fakes/FakeRunLoop.h"
#include "fakes/FakeStatusItem.h"
#include "fakes/FakeWorkspace.h"

namespace stowboard {

/// A whole desktop of fakes, with a real folder of its own for the user's data.
class FakePlatform {
 public:
  FakePlatform() {
    std::string pattern = (std::filesystem::temp_directory_path() / "platform-XXXXXX").string();
    folder_ = ::mkdtemp(pattern.data());
    platform.bundle = std::make_unique<FakeBundle>(folder_);
    platform.runLoop = std::make_unique<FakeRunLoop>();
    platform.imageCodec = std::make_unique<FakeImageCodec>();
    platform.workspace = std::make_unique<FakeWorkspace>();
    platform.pasteboard = std::make_unique<FakePasteboard>();
    platform.hotKeyCenter = std::make_unique<FakeHotKeyCenter>();
    platform.keyEventPoster = std::make_unique<FakeKeyEventPoster>();
    platform.accessibilityTrust = std::make_unique<InertAccessibilityTrust>();
    platform.loginItems = std::make_unique<FakeLoginItems>();
    platform.appearance = std::make_unique<InertDesktopAppearance>();
    platform.compositing = std::make_unique<InertCompositing>();
    platform.transientWindows = std::make_unique<InertTransientWindows>();
    platform.statusItem = std::make_unique<FakeStatusItem>();
    platform.fileOpener = std::make_unique<FakeFileOpener>();
  }
  ~FakePlatform() { std::filesystem::remove_all(folder_); }

  FakeRunLoop& runLoop() { return static_cast<FakeRunLoop&>(*platform.runLoop); }
  FakeWorkspace& workspace() { return static_cast<FakeWorkspace&>(*platform.workspace); }
  FakePasteboard& pasteboard() { return static_cast<FakePasteboard&>(*platform.pasteboard); }
  FakeHotKeyCenter& hotKeys() { return static_cast<FakeHotKeyCenter&>(*platform.hotKeyCenter); }
  const std::filesystem::path& folder() const { return folder_; }

  Platform platform;

 private:
  std::filesystem::path folder_;
};

}  // namespace stowboard
