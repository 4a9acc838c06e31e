#pragma once

#include <memory>

#include "Platform/AccessibilityTrust.h"
#include "Platform/ApplicationIdentifying.h"
#include "Platform/Bundle.h"
#include "Platform/Compositing.h"
#include "Platform/DesktopAppearance.h"
#include "Platform/FileOpener.h"
#include "Platform/HotKeyCenter.h"
#include "Platform/Image.h"
#include "Platform/KeyEventPoster.h"
#include "Platform/LoginItems.h"
#include "Platform/Pasteboard.h"
#include "Platform/RunLoop.h"
#include "Platform/StatusItem.h"
#include "Platform/TransientWindows.h"
#include "Platform/Workspace.h"

namespace stowboard {

/// One adapter for every port. None is ever null: where a system lacks something, an inert adapter
/// stands in. The run loop is the last to go, since the others post to it.
struct Platform {
  std::unique_ptr<Bundle> bundle;
  std::unique_ptr<RunLoop> runLoop;
  /// For the other adapters.
  std::unique_ptr<ApplicationIdentifying> applications;
  std::unique_ptr<ImageCodec> imageCodec;
  std::unique_ptr<Workspace> workspace;
  std::unique_ptr<Pasteboard> pasteboard;
  std::unique_ptr<HotKeyCenter> hotKeyCenter;
  std::unique_ptr<KeyEventPoster> keyEventPoster;
  std::unique_ptr<AccessibilityTrust> accessibilityTrust;
  std::unique_ptr<LoginItems> loginItems;
  std::unique_ptr<DesktopAppearance> appearance;
  std::unique_ptr<Compositing> compositing;
  std::unique_ptr<TransientWindows> transientWindows;
  std::unique_ptr<StatusItem> statusItem;
  std::unique_ptr<FileOpener> fileOpener;
};

}  // namespace stowboard
