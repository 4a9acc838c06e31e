#include "Platform/Wayland/WaylandPlatform.h"

#include <memory>
#include <utility>

#include "Base/Log.h"
#include "Platform/Compositor/DeviceKeyEventPoster.h"
#include "Platform/Compositor/ToldWorkspace.h"
#include "Platform/Platform.h"
#include "Platform/Wayland/KdeShortcuts.h"
#include "Platform/Wayland/Keys/KdeHotKeys.h"
#include "Platform/Wayland/Keys/KwinTypingDevice.h"
#include "Platform/Wayland/Keys/SwayHotKeys.h"
#include "Platform/Wayland/Keys/VirtualKeyboard.h"
#include "Platform/Wayland/Keys/WaylandAccessibilityTrust.h"
#include "Platform/Wayland/KwinScript.h"
#include "Platform/Wayland/Selection/WaylandPasteboard.h"
#include "Platform/Wayland/Windows/KwinTransientWindows.h"
#include "Platform/Wayland/Windows/SwayTransientWindows.h"
#include "Platform/Wayland/Windows/WaylandWorkspace.h"

namespace stowboard {

namespace {

// The toolkit makes it of the program's name.
constexpr const char* ownWindowClass = "Stowboard";

// What a user can do without a service for hot keys.
constexpr const char* noHotKeys =
    "No global hot keys on this compositor, except while a window of XWayland is in front, unless "
    "the "
    "desktop portal gives them. To have them, bind keys in the compositor's configuration, for the "
    "history to: gdbus call --session "
    "--dest com.qarvin.stowboard --object-path /com/qarvin/stowboard "
    "--method org.freedesktop.Application.ActivateAction show-history [] {}";

constexpr const char* noTyping =
    "This compositor lets no program type (virtual-keyboard): clips are only put on the clipboard "
    "for applications that are not on XWayland";

// What the package's desktop file asks for.
constexpr const char* noLeaveToType =
    "KWin lets only installed programs type: clips are only put on the clipboard for applications "
    "that are not on XWayland. Install Stowboard, or put its desktop file with this program's path "
    "into ~/.local/share/applications";

}  // namespace

std::unique_ptr<WaylandPlatform> WaylandPlatform::create(Platform& platform, int thumbnailDimension,
                                                         std::function<bool()> isSecretOnX11) {
  DataControlOptions options;
  options.isSecretOnX11 = std::move(isSecretOnX11);
  options.thumbnailDimension = thumbnailDimension;
  auto pasteboard = WaylandPasteboard::create(*platform.runLoop, *platform.imageCodec,
                                              *platform.applications, options);
  if (!pasteboard) return nullptr;
  auto& added = *pasteboard;
  platform.pasteboard = std::move(pasteboard);
  return std::unique_ptr<WaylandPlatform>(new WaylandPlatform(platform, added));
}

void WaylandPlatform::addOthers() {
  addHotKeys();
  connection_ = WaylandMainConnection::open();
  if (!connection_) return;
  kwin_ = KwinScript::open();
  if (kwin_) {
    return addWorkspaceAndPoster(std::make_unique<ToldWorkspace>(kwin_, *platform_.applications,
                                                                 platform_.bundle->identifier()));
  }
  auto workspace = WaylandWorkspace::create(connection_, *platform_.applications,
                                            {platform_.bundle->identifier(), ownWindowClass});
  if (workspace) return addWorkspaceAndPoster(std::move(workspace));
  Log::app.error(
      "This compositor does not tell of its windows (wlr-foreign-toplevel-management): the "
      "application in front is known only while it is one of XWayland, and only into such is "
      "anything pasted directly");
}

void WaylandPlatform::addHotKeys() {
  sway_ = SwayIpc::open();
  if (sway_) {
    platform_.hotKeyCenter = std::make_unique<SwayHotKeys>(sway_);
    return;
  }
  kdeShortcuts_ = KdeShortcuts::open(platform_.bundle->identifier());
  if (kdeShortcuts_) {
    platform_.hotKeyCenter = std::make_unique<KdeHotKeys>(kdeShortcuts_);
    return;
  }
  Log::hotKey.error("{}", noHotKeys);
}

std::unique_ptr<TypingDevice> WaylandPlatform::typingDevice() const {
  if (auto keyboard = VirtualKeyboard::create(connection_)) return keyboard;
  if (!kdeShortcuts_) return nullptr;
  return KwinTypingDevice::create(connection_, kdeShortcuts_, *platform_.runLoop);
}

// A keystroke asks its neighbours, all of which outlive it.
template <typename Followed>
void WaylandPlatform::addWorkspaceAndPoster(std::unique_ptr<Followed> added) {
  auto& workspace = *added;
  platform_.workspace = std::move(added);
  auto device = typingDevice();
  if (!device) return Log::app.error("{}", kdeShortcuts_ ? noLeaveToType : noTyping);
  DeviceKeyEventPoster::Surroundings around;
  around.frontmost = [&workspace] { return workspace.frontmostApplication(); };
  around.windowClass = [&workspace](auto window) { return workspace.windowClass(window); };
  around.awaitedWindow = [&workspace] { return workspace.awaitedWindow(); };
  around.offerPrimary = [this] { pasteboard_.offerPrimary(); };
  around.whenPublished = [this](auto done) { pasteboard_.whenPublished(std::move(done)); };
  auto poster = std::make_unique<DeviceKeyEventPoster>(std::move(device), *platform_.runLoop,
                                                       *platform_.applications, std::move(around));
  workspace.follow([poster = poster.get()] { poster->frontDidChange(); });
  platform_.keyEventPoster = std::move(poster);
  platform_.accessibilityTrust = std::make_unique<WaylandAccessibilityTrust>(connection_);
}

void WaylandPlatform::addOnTop() {
  auto& windows = platform_.transientWindows;
  if (sway_) windows = std::make_unique<SwayTransientWindows>(sway_, std::move(windows));
  if (kwin_) windows = std::make_unique<KwinTransientWindows>(std::move(windows));
}

}  // namespace stowboard
