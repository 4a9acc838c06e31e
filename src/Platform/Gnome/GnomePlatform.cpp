#include "Platform/Gnome/GnomePlatform.h"

#include <string>
#include <utility>

#include "Platform/Clipboard/PublishingPasteboard.h"
#include "Platform/Compositor/DeviceKeyEventPoster.h"
#include "Platform/Compositor/ToldWorkspace.h"
#include "Platform/Gnome/GnomeClipboardBridge.h"
#include "Platform/Gnome/GnomeHotKeys.h"
#include "Platform/Gnome/GnomeShell.h"
#include "Platform/Gnome/GnomeSwitches.h"
#include "Platform/Gnome/GnomeTypingDevice.h"
#include "Platform/Platform.h"

namespace stowboard {

std::unique_ptr<GnomePlatform> GnomePlatform::create(Platform& platform) {
  const auto desktop = platform.bundle->environment("XDG_CURRENT_DESKTOP").value_or("");
  if (desktop.find("GNOME") == std::string::npos) return nullptr;
  auto shell = GnomeShell::open();
  auto connection = WaylandMainConnection::open();
  if (!shell || !connection) return nullptr;
  return std::unique_ptr<GnomePlatform>(
      new GnomePlatform(platform, std::move(shell), std::move(connection)));
}

GnomePlatform::GnomePlatform(Platform& platform, std::shared_ptr<GnomeShell> shell,
                             std::shared_ptr<WaylandMainConnection> connection)
    : platform_(platform),
      shell_(std::move(shell)),
      connection_(std::move(connection)),
      bridge_(std::make_unique<GnomeClipboardBridge>(*shell_, *platform_.pasteboard,
                                                     *platform_.runLoop)) {}

GnomePlatform::~GnomePlatform() = default;

void GnomePlatform::addOnTop() {
  addPoster();
  auto& hotKeys = platform_.hotKeyCenter;
  hotKeys = std::make_unique<GnomeHotKeys>(shell_, std::move(hotKeys));
  auto& trust = platform_.accessibilityTrust;
  trust = std::make_unique<GnomeAccessibilityTrust>(shell_, std::move(trust));
  auto& windows = platform_.transientWindows;
  windows = std::make_unique<GnomeTransientWindows>(shell_, std::move(windows));
}

// A keystroke asks its neighbours, all of which outlive it.
void GnomePlatform::addPoster() {
  auto told = std::make_unique<ToldWorkspace>(shell_, *platform_.applications,
                                              platform_.bundle->identifier());
  auto& workspace = *told;
  DeviceKeyEventPoster::Surroundings around;
  around.frontmost = [&workspace] { return workspace.frontmostApplication(); };
  around.windowClass = [&workspace](auto window) { return workspace.windowClass(window); };
  around.awaitedWindow = [&workspace] { return workspace.awaitedWindow(); };
  if (auto* pasteboard = dynamic_cast<PublishingPasteboard*>(platform_.pasteboard.get())) {
    around.offerPrimary = [pasteboard] { pasteboard->offerPrimary(); };
    around.whenPublished = [this, pasteboard](auto done) {
      pasteboard->whenPublished(
          [this, done] { platform_.runLoop->post([this, done] { bridge_->whenThrough(done); }); });
    };
  }
  auto poster = std::make_unique<DeviceKeyEventPoster>(
      std::make_unique<GnomeTypingDevice>(shell_, connection_), *platform_.runLoop,
      *platform_.applications, std::move(around));
  workspace.follow([poster = poster.get()] { poster->frontDidChange(); });
  auto& posters = platform_.keyEventPoster;
  posters = std::make_unique<GnomeKeyEventPoster>(shell_, std::move(poster), std::move(posters));
  auto& workspaces = platform_.workspace;
  workspaces = std::make_unique<GnomeWorkspace>(shell_, std::move(told), std::move(workspaces));
}

}  // namespace stowboard
