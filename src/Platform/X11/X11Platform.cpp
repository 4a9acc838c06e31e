#include "Platform/X11/X11Platform.h"

#include <memory>
#include <utility>

#include "Base/Log.h"
#include "Platform/Inert.h"
#include "Platform/Platform.h"
#include "Platform/X11/Keys/X11AccessibilityTrust.h"
#include "Platform/X11/Keys/X11HotKeys.h"
#include "Platform/X11/Keys/X11KeyEventPoster.h"
#include "Platform/X11/Selection/X11Pasteboard.h"
#include "Platform/X11/Windows/X11Compositing.h"
#include "Platform/X11/Windows/X11TransientWindows.h"
#include "Platform/X11/Windows/X11Workspace.h"

namespace stowboard {

namespace {

/// Takes an adapter, or the one that stands in for it, saying what is lost.
template <typename Port>
std::unique_ptr<Port> orInert(std::unique_ptr<Port> adapter, std::unique_ptr<Port> inert,
                              const char* loss) {
  if (adapter) return adapter;
  Log::app.error("{}", loss);
  return inert;
}

/// What a keystroke's adapter asks of its neighbours, all of which outlive it.
X11KeyEventPoster::Surroundings surroundings(const X11Workspace* workspace,
                                             X11Pasteboard* pasteboard) {
  X11KeyEventPoster::Surroundings around;
  if (workspace) around.awaitedWindow = [workspace] { return workspace->awaitedWindow(); };
  if (pasteboard) {
    around.offerPrimary = [pasteboard] { pasteboard->offerPrimary(); };
    around.whenPublished = [pasteboard](auto done) { pasteboard->whenPublished(std::move(done)); };
  }
  return around;
}

}  // namespace

void addX11Adapters(Platform& platform, int thumbnailDimension) {
  const ApplicationIdentifying& applications = *platform.applications;
  RunLoop& runLoop = *platform.runLoop;
  SelectionOptions options;
  options.thumbnailDimension = thumbnailDimension;
  auto workspace = X11Workspace::create(runLoop, applications);
  auto pasteboard = X11Pasteboard::create(runLoop, *platform.imageCodec, options);
  auto poster = X11KeyEventPoster::create(runLoop, applications,
                                          surroundings(workspace.get(), pasteboard.get()));
  platform.workspace =
      orInert<Workspace>(std::move(workspace), std::make_unique<InertWorkspace>(),
                         "The frontmost application cannot be told on this X server");
  platform.pasteboard =
      orInert<Pasteboard>(std::move(pasteboard), std::make_unique<InertPasteboard>(),
                          "No copies can be recorded: the X server has no XFixes extension");
  platform.hotKeyCenter =
      orInert<HotKeyCenter>(X11HotKeys::create(runLoop), std::make_unique<InertHotKeyCenter>(),
                            "No global hot keys: the X server does not offer what they need");
  platform.keyEventPoster = orInert<KeyEventPoster>(
      std::move(poster), std::make_unique<InertKeyEventPoster>(),
      "No clips can be pasted directly: the X server lets no program type (XTEST)");
  platform.accessibilityTrust = orInert<AccessibilityTrust>(
      X11AccessibilityTrust::create(), std::make_unique<InertAccessibilityTrust>(),
      "Whether programs may type cannot be asked of this X server");
  platform.compositing =
      orInert<Compositing>(X11Compositing::create(), std::make_unique<InertCompositing>(),
                           "Whether windows are composited cannot be asked of this X server");
  platform.transientWindows = orInert<TransientWindows>(
      X11TransientWindows::create(), std::make_unique<InertTransientWindows>(),
      "The history closes only when another window takes the focus: the X server has no XInput 2");
}

}  // namespace stowboard
