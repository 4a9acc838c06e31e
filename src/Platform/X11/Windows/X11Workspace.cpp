#include "Platform/X11/Windows/X11Workspace.h"

#include <QObject>
#include <QSocketNotifier>
#include <utility>

#include "Base/Log.h"
#include "Platform/X11/X11Desktop.h"

namespace stowboard {

/// Calls the workspace's report() on a turn of the main loop after the front may have moved.
class X11Workspace::Events {
 public:
  Events(X11Workspace& workspace, RunLoop& loop)
      : workspace_(workspace),
        loop_(loop),
        notifier_(workspace.desktop_->connection().fileDescriptor(), QSocketNotifier::Read) {
    QObject::connect(&notifier_, &QSocketNotifier::activated, [this] { handleNew(); });
  }

  // Waiting for an answer takes events off the socket, which is then silent about them.
  void handleQueuedLater() {
    if (!takeEvents(xcb_poll_for_queued_event)) return;
    loop_.post([self = std::weak_ptr(self_)] {
      if (const auto events = self.lock()) (*events)->handleNew(true);
    });
  }

 private:
  using Poll = xcb_generic_event_t* (*)(xcb_connection_t*);

  void handleNew(bool frontMoved = false) {
    // Reporting asks the server, which may bring further events in.
    while (takeEvents(xcb_poll_for_event) || frontMoved) {
      frontMoved = false;
      workspace_.report();
    }
    if (!workspace_.desktop_->connection().isBroken() || !notifier_.isEnabled()) return;
    notifier_.setEnabled(false);
    Log::app.error("The connection to the X server broke; the application in front is unknown");
  }

  // Returns whether one of them moves the front.
  bool takeEvents(Poll poll) {
    bool moved = false;
    auto& desktop = *workspace_.desktop_;
    while (const XcbPointer<xcb_generic_event_t> event{poll(desktop.xcb())}) {
      moved = desktop.movesTheFront(*event) || moved;
      if (const auto time = desktop.serverTime(*event)) workspace_.requestActivation(*time);
    }
    return moved;
  }

  X11Workspace& workspace_;
  RunLoop& loop_;
  QSocketNotifier notifier_;
  const std::shared_ptr<Events*> self_ = std::make_shared<Events*>(this);
};

std::unique_ptr<X11Workspace> X11Workspace::create(RunLoop& loop,
                                                   const ApplicationIdentifying& applications,
                                                   const std::string& display) {
  auto desktop = X11Desktop::open(applications, display);
  if (!desktop) return nullptr;
  desktop->followFront();
  return std::unique_ptr<X11Workspace>(new X11Workspace(std::move(desktop), loop));
}

X11Workspace::X11Workspace(std::unique_ptr<X11Desktop> desktop, RunLoop& loop)
    : desktop_(std::move(desktop)),
      loop_(loop),
      lastReported_(desktop_->frontmost()),
      events_(std::make_unique<Events>(*this, loop)) {
  events_->handleQueuedLater();
}

X11Workspace::~X11Workspace() = default;

std::optional<RunningApplication> X11Workspace::frontmostApplication() const {
  auto application = desktop_->frontmost();
  events_->handleQueuedLater();
  return application;
}

bool X11Workspace::isTerminated(const RunningApplication& application) const {
  const bool exists = desktop_->exists(static_cast<xcb_window_t>(application.window));
  events_->handleQueuedLater();
  return !exists;
}

// Window managers refuse an old time (EWMH, _NET_WM_USER_TIME); ours comes with an event.
bool X11Workspace::activate(const RunningApplication& application) {
  if (isTerminated(application)) return false;
  awaitedWindow_ = application.window;
  awaitedSince_ = loop_.now();
  desktop_->askServerTime();
  return true;
}

void X11Workspace::requestActivation(std::uint32_t time) {
  desktop_->requestActivation(static_cast<xcb_window_t>(awaitedWindow_), time);
}

std::uint64_t X11Workspace::awaitedWindow() const {
  constexpr auto longestWait = std::chrono::seconds(1);
  return loop_.now() - awaitedSince_ < longestWait ? awaitedWindow_ : 0;
}

void X11Workspace::report() {
  const auto application = desktop_->frontmost();
  if (application && application->window == awaitedWindow_) awaitedWindow_ = 0;
  if (!application || application == lastReported_) return;
  lastReported_ = application;
  // A copy, because the callee may replace it.
  if (const auto callback = onDidActivate) callback(*application);
}

}  // namespace stowboard
