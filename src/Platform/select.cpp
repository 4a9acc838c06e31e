#include "Platform/select.h"

#include <xcb/xcb.h>

#include <functional>
#include <memory>
#include <optional>
#include <utility>

#include "Base/Log.h"
#include "Platform/Desktop/Applications/InstalledApplications.h"
#include "Platform/Desktop/Bus/DBusApplication.h"
#include "Platform/Desktop/Bus/PortalAppearance.h"
#include "Platform/Desktop/Tray/PanelStatusItem.h"
#include "Platform/Desktop/Tray/SystemTrayIcon.h"
#include "Platform/Desktop/XdgAutostart.h"
#include "Platform/Desktop/XdgBundle.h"
#include "Platform/Desktop/XdgFileOpener.h"
#include "Platform/Gnome/GnomePlatform.h"
#include "Platform/Inert.h"
#include "Platform/Portals/PortalHotKeys.h"
#include "Platform/Qt/QtImageCodec.h"
#include "Platform/Qt/QtRunLoop.h"
#include "Platform/Wayland/WaylandPlatform.h"
#include "Platform/X11/Selection/X11SecretProbe.h"
#include "Platform/X11/X11Platform.h"

namespace stowboard {

namespace {

bool canReachXServer() {
  xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
  const bool isReached = xcb_connection_has_error(connection) == 0;
  xcb_disconnect(connection);
  return isReached;
}

bool isSet(const Bundle& bundle, const char* variable) {
  return !bundle.environment(variable).value_or("").empty();
}

std::string refusal(const Bundle& bundle, bool isWaylandSession) {
  if (!isSet(bundle, "DISPLAY")) {
    return isWaylandSession
               ? "This Wayland session has no XWayland (DISPLAY is not set), which Stowboard needs."
               : "There is no display: neither DISPLAY nor WAYLAND_DISPLAY is set.";
  }
  if (canReachXServer()) return {};
  return fmt::format("The X server at DISPLAY={} cannot be reached.",
                     bundle.environment("DISPLAY").value_or(""));
}

// For one thread, on which it is opened with the first question.
std::function<bool()> secretProbe() {
  return [probe = std::make_shared<std::optional<std::unique_ptr<X11SecretProbe>>>()] {
    if (!*probe) *probe = X11SecretProbe::open();
    return **probe && (**probe)->isSecret();
  };
}

// Without a session bus there is nobody to ask, which the program's start has logged.
std::unique_ptr<DesktopAppearance> selectAppearance() {
  if (auto portal = PortalAppearance::create()) return portal;
  return std::make_unique<InertDesktopAppearance>();
}

}  // namespace

std::unique_ptr<Bundle> selectBundle() { return std::make_unique<XdgBundle>(); }

DisplaySelection selectDisplay(const Bundle& bundle) {
  DisplaySelection display;
  display.isWaylandSession = isSet(bundle, "WAYLAND_DISPLAY");
  display.refusal = refusal(bundle, display.isWaylandSession);
  return display;
}

ApplicationPresence::Claim claimPresence(const Bundle& bundle, std::chrono::milliseconds bound) {
  return DBusApplication::claim(bundle, bound);
}

/// The windows are X11's in every session; the rest is the compositor's own where it allows that.
class PlatformSelection::WindowSystem {
 public:
  WindowSystem(Platform& platform, const DisplaySelection& display, int thumbnailDimension)
      : platform_(platform), isWaylandSession_(display.isWaylandSession), x11_(platform) {
    if (display.isWaylandSession) {
      wayland_ = WaylandPlatform::create(platform, thumbnailDimension, secretProbe());
    }
    if (!wayland_) x11_.addPasteboard(thumbnailDimension);
    logChoice(display, *platform.bundle);
  }

  void addOthers() {
    if (wayland_) wayland_->addOthers();
    x11_.addOthers();
    if (wayland_) wayland_->addOnTop();
    if (!isWaylandSession_) return;
    if (!wayland_ || !wayland_->hasHotKeys()) addPortal();
    if (wayland_) return;
    gnome_ = GnomePlatform::create(platform_);
    if (gnome_) gnome_->addOnTop();
  }

 private:
  // The X server of XWayland hears keys only while one of its windows is in front.
  void addPortal() {
    auto& hotKeys = platform_.hotKeyCenter;
    hotKeys = PortalHotKeys::create(platform_.bundle->identifier(), *platform_.runLoop,
                                    std::move(hotKeys));
  }

  void logChoice(const DisplaySelection& display, const Bundle& bundle) const {
    const auto server = bundle.environment("DISPLAY").value_or("");
    if (wayland_) {
      return Log::app.info(
          "Using the Wayland adapters: the compositor at WAYLAND_DISPLAY={} offers data control; "
          "windows are those of XWayland at DISPLAY={}",
          bundle.environment("WAYLAND_DISPLAY").value_or(""), server);
    }
    Log::app.info("Using the X11 adapters: the X server at DISPLAY={} answers", server);
    if (!display.isWaylandSession) return;
    // GNOME's shell passes copies on, and the rest is its extension's.
    if (GnomePlatform::isOf(bundle)) return;
    Log::app.error(
        "This is a Wayland session whose compositor has no data control, reached through XWayland: "
        "the frontmost application is known only while it is an X11 one, and a copy made in a "
        "Wayland application is recorded only if the compositor passes it on to X11 applications");
  }

  Platform& platform_;
  const bool isWaylandSession_;
  X11Platform x11_;
  /// Absent where X11 serves for everything.
  std::unique_ptr<WaylandPlatform> wayland_;
  std::unique_ptr<GnomePlatform> gnome_;
};

PlatformSelection::PlatformSelection(const DisplaySelection& display,
                                     std::unique_ptr<Bundle> bundle, int thumbnailDimension) {
  platform_.bundle = std::move(bundle);
  platform_.runLoop = std::make_unique<QtRunLoop>();
  platform_.imageCodec = std::make_unique<QtImageCodec>();
  platform_.applications = std::make_unique<InstalledApplications>();
  windowSystem_ = std::make_unique<WindowSystem>(platform_, display, thumbnailDimension);
}

PlatformSelection::~PlatformSelection() = default;

const Platform& PlatformSelection::complete() {
  windowSystem_->addOthers();
  platform_.loginItems = std::make_unique<XdgAutostart>(*platform_.bundle);
  platform_.appearance = selectAppearance();
  platform_.fileOpener = std::make_unique<XdgFileOpener>();
  platform_.statusItem = std::make_unique<PanelStatusItem>(std::make_unique<SystemTrayIcon>());
  return platform_;
}

}  // namespace stowboard
