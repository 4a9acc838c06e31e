#include "Platform/select.h"

#include <xcb/xcb.h>

#include <utility>

#include "Base/Log.h"
#include "Platform/Desktop/Applications/InstalledApplications.h"
#include "Platform/Desktop/Bus/PortalAppearance.h"
#include "Platform/Desktop/XdgAutostart.h"
#include "Platform/Inert.h"
#include "Platform/Qt/QtImageCodec.h"
#include "Platform/Qt/QtRunLoop.h"
#include "Platform/X11/Keys/X11AccessibilityTrust.h"
#include "Platform/X11/Keys/X11HotKeys.h"
#include "Platform/X11/Keys/X11KeyEventPoster.h"
#include "Platform/X11/Selection/X11Pasteboard.h"
#include "Platform/X11/Windows/X11Compositing.h"
#include "Platform/X11/Windows/X11TransientWindows.h"
#include "Platform/X11/Windows/X11Workspace.h"

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

/// Takes an adapter, or the one that stands in for it, saying what is lost.
template <typename Port>
std::unique_ptr<Port> orInert(std::unique_ptr<Port> adapter, std::unique_ptr<Port> inert,
                              const char* loss) {
  if (adapter) return adapter;
  Log::app.error("{}", loss);
  return inert;
}

/// What a keystroke's adapter asks of its neighbours, all of which outlive it.
X11KeyEventPoster::Surroundings surroundings(const InstalledApplications& applications,
                                             const X11Workspace* workspace,
                                             X11Pasteboard* pasteboard) {
  X11KeyEventPoster::Surroundings around;
  around.isTerminal = [&applications](const std::string& id) {
    const auto entries = applications.entries();
    const DesktopEntry* entry = entries->find(id);
    return entry != nullptr && entry->hasCategory("TerminalEmulator");
  };
  if (workspace) around.awaitedWindow = [workspace] { return workspace->awaitedWindow(); };
  if (pasteboard) {
    around.offerPrimary = [pasteboard] { pasteboard->offerPrimary(); };
    around.whenPublished = [pasteboard](auto done) { pasteboard->whenPublished(std::move(done)); };
  }
  return around;
}

void addX11Adapters(Platform& platform, const InstalledApplications& applications,
                    int thumbnailDimension) {
  RunLoop& runLoop = *platform.runLoop;
  X11Pasteboard::Options options;
  options.thumbnailDimension = thumbnailDimension;
  auto workspace = X11Workspace::create(runLoop, applications);
  auto pasteboard = X11Pasteboard::create(runLoop, *platform.imageCodec, options);
  auto poster = X11KeyEventPoster::create(
      runLoop, applications, surroundings(applications, workspace.get(), pasteboard.get()));
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

// Without a session bus there is nobody to ask, which the program's start has logged.
std::unique_ptr<DesktopAppearance> selectAppearance() {
  if (auto portal = PortalAppearance::create()) return portal;
  return std::make_unique<InertDesktopAppearance>();
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
  addX11Adapters(platform, *applications, thumbnailDimension);
  platform.loginItems = std::make_unique<XdgAutostart>(*platform.bundle);
  platform.appearance = selectAppearance();
  return platform;
}

}  // namespace stowboard
