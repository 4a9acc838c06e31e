#include "Platform/Wayland/WaylandPlatform.h"

#include <memory>
#include <utility>

#include "Base/Log.h"
#include "Platform/Platform.h"
#include "Platform/Wayland/Keys/SwayHotKeys.h"
#include "Platform/Wayland/Keys/WaylandAccessibilityTrust.h"
#include "Platform/Wayland/Keys/WaylandKeyEventPoster.h"
#include "Platform/Wayland/Selection/WaylandPasteboard.h"
#include "Platform/Wayland/Windows/SwayTransientWindows.h"
#include "Platform/Wayland/Windows/WaylandWorkspace.h"

namespace stowboard {

namespace {

// The toolkit makes it of the program's name.
constexpr const char* ownWindowClass = "Stowboard";

// What a user can do without a service for hot keys.
constexpr const char* noHotKeys =
    "No global hot keys on this compositor, except while a window of XWayland is in front. To have "
    "them, bind keys in the compositor's configuration, for the history to: gdbus call --session "
    "--dest com.qarvin.stowboard --object-path /com/qarvin/stowboard "
    "--method org.freedesktop.Application.ActivateAction show-history [] {}";

}  // namespace

std::unique_ptr<WaylandPlatform> WaylandPlatform::create(Platform& platform,
                                                         int thumbnailDimension) {
  DataControlOptions options;
  options.thumbnailDimension = thumbnailDimension;
  auto pasteboard = WaylandPasteboard::create(*platform.runLoop, *platform.imageCodec,
                                              *platform.applications, options);
  if (!pasteboard) return nullptr;
  auto& added = *pasteboard;
  platform.pasteboard = std::move(pasteboard);
  return std::unique_ptr<WaylandPlatform>(new WaylandPlatform(platform, added));
}

void WaylandPlatform::addOthers() {
  sway_ = SwayIpc::open();
  if (sway_) {
    platform_.hotKeyCenter = std::make_unique<SwayHotKeys>(sway_);
  } else {
    Log::hotKey.error("{}", noHotKeys);
  }
  const auto connection = WaylandMainConnection::open();
  if (!connection) return;
  auto workspace = WaylandWorkspace::create(connection, *platform_.applications,
                                            {platform_.bundle->identifier(), ownWindowClass});
  if (!workspace) {
    return Log::app.error(
        "This compositor does not tell of its windows (wlr-foreign-toplevel-management): the "
        "application in front is known only while it is one of XWayland, and only into such is "
        "anything pasted directly");
  }
  addPoster(connection, *workspace);
  platform_.workspace = std::move(workspace);
}

// A keystroke asks its neighbours, all of which outlive it.
void WaylandPlatform::addPoster(const std::shared_ptr<WaylandMainConnection>& connection,
                                WaylandWorkspace& workspace) {
  WaylandKeyEventPoster::Surroundings around;
  around.frontmost = [&workspace] { return workspace.frontmostApplication(); };
  around.windowClass = [&workspace](auto window) { return workspace.windowClass(window); };
  around.awaitedWindow = [&workspace] { return workspace.awaitedWindow(); };
  around.offerPrimary = [this] { pasteboard_.offerPrimary(); };
  around.whenPublished = [this](auto done) { pasteboard_.whenPublished(std::move(done)); };
  auto poster = WaylandKeyEventPoster::create(connection, *platform_.runLoop,
                                              *platform_.applications, std::move(around));
  if (!poster) {
    return Log::app.error(
        "This compositor lets no program type (virtual-keyboard): clips are only put on the "
        "clipboard for applications that are not on XWayland");
  }
  workspace.follow([poster = poster.get()] { poster->frontDidChange(); });
  platform_.keyEventPoster = std::move(poster);
  platform_.accessibilityTrust = std::make_unique<WaylandAccessibilityTrust>(connection);
}

void WaylandPlatform::addOnTop() {
  if (!sway_) return;
  platform_.transientWindows =
      std::make_unique<SwayTransientWindows>(sway_, std::move(platform_.transientWindows));
}

}  // namespace stowboard
