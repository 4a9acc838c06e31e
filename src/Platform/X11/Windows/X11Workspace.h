#pragma once

#include <chrono>

#include "Platform/Workspace.h"
#include "Platform/X11/X11Desktop.h"
#include "Platform/X11/X11MainConnection.h"

namespace stowboard {

/// The applications on an X11 desktop whose window manager follows EWMH.
///
/// What is in front is the window manager's _NET_ACTIVE_WINDOW. Without a window manager, or with
/// one that does not follow EWMH, nothing is in front, and one that starts or takes over later is
/// picked up. Applications on a Wayland session's own windows are not seen: only those that run
/// through XWayland are.
///
/// frontmostApplication() is never stale; it costs two round trips to the X server and what
/// ApplicationIdentifying takes. onDidActivate is also called when another window of the same
/// application comes to the front; one that is there for an instant only may be passed over.
///
/// A process id is only given for a window of this machine.
class X11Workspace final : public Workspace {
 public:
  /// `applications` must outlive the workspace.
  X11Workspace(std::shared_ptr<X11MainConnection> connection,
               const ApplicationIdentifying& applications);

  std::optional<RunningApplication> frontmostApplication() const override;
  bool isTerminated(const RunningApplication& application) const override;
  bool activate(const RunningApplication& application) override;

  /// The window that activate() was asked for, until it is in front, for a second at most; 0 when
  /// there is none.
  std::uint64_t awaitedWindow() const;

 private:
  bool handle(const xcb_generic_event_t& event);
  void report();

  const std::shared_ptr<X11MainConnection> connection_;
  const X11Desktop desktop_;
  std::optional<RunningApplication> lastReported_;
  std::uint64_t awaitedWindow_ = 0;
  std::chrono::steady_clock::time_point awaitedSince_{};
  const X11MainConnection::Subscription subscription_;
};

}  // namespace stowboard
