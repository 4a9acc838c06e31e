#include "Platform/X11/X11Platform.h"

#include <memory>
#include <utility>

#include "Base/Log.h"
#include "Platform/Clipboard/PublishingPasteboard.h"
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

/// Puts in the adapter, or the one that stands in for it, saying what is lost.
template <typename Inert, typename Port, typename Adapter>
void place(std::unique_ptr<Port>& port, std::unique_ptr<Adapter> adapter, const char* loss) {
  port = std::move(adapter);
  if (port) return;
  Log::app.error("{}", loss);
  port = std::make_unique<Inert>();
}

/// The adapter that shares the connection, where there is one, unless another has the place
/// already.
template <typename Adapter, typename Inert, typename Port, typename... More>
void share(std::unique_ptr<Port>& port, const std::shared_ptr<X11MainConnection>& connection,
           const char* loss, More&... more) {
  if (port) return;
  place<Inert>(port, connection ? std::make_unique<Adapter>(connection, more...) : nullptr, loss);
}

}  // namespace

void X11Platform::addPasteboard(int thumbnailDimension) {
  SelectionOptions options;
  options.thumbnailDimension = thumbnailDimension;
  auto pasteboard = X11Pasteboard::create(*platform_.runLoop, *platform_.imageCodec,
                                          *platform_.applications, options);
  place<InertPasteboard>(platform_.pasteboard, std::move(pasteboard),
                         "No copies can be recorded: the X server has no XFixes extension");
}

void X11Platform::addOthers() {
  const auto connection = X11MainConnection::open();
  share<X11Workspace, InertWorkspace>(platform_.workspace, connection,
                                      "The frontmost application cannot be told on this X server",
                                      std::as_const(*platform_.applications));
  if (!platform_.hotKeyCenter) {
    share<X11HotKeys, InertHotKeyCenter>(
        platform_.hotKeyCenter, X11MainConnection::open(),
        "No global hot keys: the X server does not offer what they need", connection);
  }
  if (!platform_.keyEventPoster) addPoster(connection.get());
  share<X11AccessibilityTrust, InertAccessibilityTrust>(
      platform_.accessibilityTrust, connection,
      "Whether programs may type cannot be asked of this X server");
  share<X11Compositing, InertCompositing>(
      platform_.compositing, connection,
      "Whether windows are composited cannot be asked of this X server");
  place<InertTransientWindows>(
      platform_.transientWindows, X11TransientWindows::create(),
      "The history closes only when another window takes the focus: the X server has no XInput 2");
}

// A keystroke asks its neighbours, all of which outlive it.
void X11Platform::addPoster(const X11MainConnection* connection) {
  X11KeyEventPoster::Surroundings around;
  if (const auto* workspace = dynamic_cast<X11Workspace*>(platform_.workspace.get())) {
    around.awaitedWindow = [workspace] { return workspace->awaitedWindow(); };
  }
  // It may be the compositor's.
  if (auto* pasteboard = dynamic_cast<PublishingPasteboard*>(platform_.pasteboard.get())) {
    around.offerPrimary = [pasteboard] { pasteboard->offerPrimary(); };
    around.whenPublished = [pasteboard](auto done) { pasteboard->whenPublished(std::move(done)); };
  }
  place<InertKeyEventPoster>(
      platform_.keyEventPoster,
      connection ? X11KeyEventPoster::create(*connection, *platform_.runLoop,
                                             *platform_.applications, std::move(around))
                 : nullptr,
      "No clips can be pasted directly: the X server lets no program type (XTEST)");
}

}  // namespace stowboard
