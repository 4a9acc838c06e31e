#include "Platform/select.h"

#include <xcb/xcb.h>

#include <utility>

#include "Base/Log.h"
#include "Platform/Desktop/InstalledApplications.h"
#include "Platform/Desktop/XdgAutostart.h"
#include "Platform/Inert.h"
#include "Platform/Qt/QtImageCodec.h"
#include "Platform/Qt/QtRunLoop.h"
#include "Platform/X11/X11HotKeys.h"
#include "Platform/X11/X11Pasteboard.h"
#include "Platform/X11/X11Workspace.h"

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

std::unique_ptr<Workspace> selectWorkspace(RunLoop& runLoop,
                                           const InstalledApplications& applications) {
  if (auto workspace = X11Workspace::create(runLoop, applications)) return workspace;
  Log::app.error("No frontmost application can be told: the X11 workspace is not to be had");
  return std::make_unique<InertWorkspace>();
}

std::unique_ptr<Pasteboard> selectPasteboard(RunLoop& runLoop, ImageCodec& imageCodec,
                                             int thumbnailDimension) {
  X11Pasteboard::Options options;
  options.thumbnailDimension = thumbnailDimension;
  if (auto pasteboard = X11Pasteboard::create(runLoop, imageCodec, options)) return pasteboard;
  Log::app.error("No copies can be recorded: the X server has no XFixes extension");
  return std::make_unique<InertPasteboard>();
}

std::unique_ptr<HotKeyCenter> selectHotKeyCenter(RunLoop& runLoop) {
  if (auto center = X11HotKeys::create(runLoop)) return center;
  Log::app.error("No global hot keys: the X server does not offer what they need");
  return std::make_unique<InertHotKeyCenter>();
}

void logChoice(const DisplaySelection& display, const Bundle& bundle) {
  Log::app.info("Using the X11 adapters: the X server at DISPLAY={} answers",
                bundle.environment("DISPLAY").value_or(""));
  if (!display.isWaylandSession) return;
  Log::app.error(
      "This is a Wayland session, reached through XWayland: the frontmost application is known "
      "only while it is an X11 one, and a copy made in a Wayland application is recorded only if "
      "the compositor passes it on to X11 applications");
}

}  // namespace

DisplaySelection selectDisplay(const Bundle& bundle) {
  DisplaySelection display;
  display.isWaylandSession = isSet(bundle, "WAYLAND_DISPLAY");
  display.refusal = refusal(bundle, display.isWaylandSession);
  return display;
}

Platform selectPlatform(const DisplaySelection& display, std::unique_ptr<Bundle> bundle,
                        int thumbnailDimension) {
  logChoice(display, *bundle);
  Platform platform;
  platform.bundle = std::move(bundle);
  platform.runLoop = std::make_unique<QtRunLoop>();
  platform.imageCodec = std::make_unique<QtImageCodec>();
  const auto applications = std::make_shared<InstalledApplications>();
  platform.sharedByAdapters = applications;
  platform.workspace = selectWorkspace(*platform.runLoop, *applications);
  platform.pasteboard =
      selectPasteboard(*platform.runLoop, *platform.imageCodec, thumbnailDimension);
  platform.hotKeyCenter = selectHotKeyCenter(*platform.runLoop);
  platform.keyEventPoster = std::make_unique<InertKeyEventPoster>();
  platform.accessibilityTrust = std::make_unique<InertAccessibilityTrust>();
  platform.loginItems = std::make_unique<XdgAutostart>(*platform.bundle);
  return platform;
}

}  // namespace stowboard
