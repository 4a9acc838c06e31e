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

/// The adapter, where there is a connection for it to share.
template <typename Adapter, typename... More>
std::unique_ptr<Adapter> sharing(const std::shared_ptr<X11MainConnection>& connection,
                                 More&... more) {
  return connection ? std::make_unique<Adapter>(connection, more...) : nullptr;
}

/// Puts in the adapter, or the one that stands in for it, saying what is lost.
template <typename Inert, typename Port, typename Adapter>
void place(std::unique_ptr<Port>& port, std::unique_ptr<Adapter> adapter, const char* loss) {
  port = std::move(adapter);
  if (port) return;
  Log::app.error("{}", loss);
  port = std::make_unique<Inert>();
}

/// A keystroke asks its neighbours, all of which outlive it.
std::unique_ptr<X11KeyEventPoster> makePoster(const X11MainConnection& connection,
                                              const Platform& platform,
                                              const X11Workspace& workspace,
                                              X11Pasteboard* pasteboard) {
  X11KeyEventPoster::Surroundings around;
  around.awaitedWindow = [&workspace] { return workspace.awaitedWindow(); };
  if (pasteboard) {
    around.offerPrimary = [pasteboard] { pasteboard->offerPrimary(); };
    around.whenPublished = [pasteboard](auto done) { pasteboard->whenPublished(std::move(done)); };
  }
  return X11KeyEventPoster::create(connection, *platform.runLoop, *platform.applications,
                                   std::move(around));
}

}  // namespace

X11Platform::X11Platform(Platform& platform, int thumbnailDimension) : platform_(platform) {
  SelectionOptions options;
  options.thumbnailDimension = thumbnailDimension;
  auto pasteboard = X11Pasteboard::create(*platform.runLoop, *platform.imageCodec,
                                          *platform.applications, options);
  pasteboard_ = pasteboard.get();
  place<InertPasteboard>(platform.pasteboard, std::move(pasteboard),
                         "No copies can be recorded: the X server has no XFixes extension");
}

void X11Platform::addOthers() {
  Platform& platform = platform_;
  const auto connection = X11MainConnection::open();
  auto workspace = sharing<X11Workspace>(connection, std::as_const(*platform.applications));
  auto poster = connection ? makePoster(*connection, platform, *workspace, pasteboard_) : nullptr;
  place<InertWorkspace>(platform.workspace, std::move(workspace),
                        "The frontmost application cannot be told on this X server");
  place<InertHotKeyCenter>(platform.hotKeyCenter, sharing<X11HotKeys>(connection),
                           "No global hot keys: the X server does not offer what they need");
  place<InertKeyEventPoster>(
      platform.keyEventPoster, std::move(poster),
      "No clips can be pasted directly: the X server lets no program type (XTEST)");
  place<InertAccessibilityTrust>(platform.accessibilityTrust,
                                 sharing<X11AccessibilityTrust>(connection),
                                 "Whether programs may type cannot be asked of this X server");
  place<InertCompositing>(platform.compositing, sharing<X11Compositing>(connection),
                          "Whether windows are composited cannot be asked of this X server");
  place<InertTransientWindows>(
      platform.transientWindows, X11TransientWindows::create(),
      "The history closes only when another window takes the focus: the X server has no XInput 2");
}

}  // namespace stowboard
