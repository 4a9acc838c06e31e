#include "Platform/X11/Windows/X11Workspace.h"

#include <utility>

#include "Base/Log.h"

namespace stowboard {

X11Workspace::X11Workspace(std::shared_ptr<X11MainConnection> connection,
                           const ApplicationIdentifying& applications)
    : connection_(std::move(connection)),
      desktop_(connection_->connection(), applications),
      subscription_(connection_->subscribe(
          {[this](const xcb_generic_event_t& event) { return handle(event); }, [this] { report(); },
           [] {
             Log::app.error(
                 "The connection to the X server broke; the application in front is unknown");
           }})) {
  desktop_.followFront();
  lastReported_ = desktop_.frontmost();
}

std::optional<RunningApplication> X11Workspace::frontmostApplication() const {
  return desktop_.frontmost();
}

bool X11Workspace::isTerminated(const RunningApplication& application) const {
  return !desktop_.exists(static_cast<xcb_window_t>(application.window));
}

// Window managers refuse an old time (EWMH, _NET_WM_USER_TIME); ours comes with an event.
bool X11Workspace::activate(const RunningApplication& application) {
  if (isTerminated(application)) return false;
  awaitedWindow_ = application.window;
  awaitedSince_ = std::chrono::steady_clock::now();
  desktop_.askServerTime();
  return true;
}

std::uint64_t X11Workspace::awaitedWindow() const {
  constexpr auto longestWait = std::chrono::seconds(1);
  return std::chrono::steady_clock::now() - awaitedSince_ < longestWait ? awaitedWindow_ : 0;
}

// Whether the front may have moved.
bool X11Workspace::handle(const xcb_generic_event_t& event) {
  // By now the window may be in front already, or nobody may wait for it any more.
  const auto time = desktop_.serverTime(event);
  const auto window = static_cast<xcb_window_t>(awaitedWindow());
  if (time && window != XCB_NONE) desktop_.requestActivation(window, *time);
  return desktop_.movesTheFront(event);
}

void X11Workspace::report() {
  const auto application = desktop_.frontmost();
  if (application && application->window == awaitedWindow_) awaitedWindow_ = 0;
  if (!application || application == lastReported_) return;
  lastReported_ = application;
  // A copy, because the callee may replace it.
  if (const auto callback = onDidActivate) callback(*application);
}

}  // namespace stowboard
