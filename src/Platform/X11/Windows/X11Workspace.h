#pragma once

#include <memory>
#include <string>

#include "Platform/ApplicationIdentifying.h"
#include "Platform/RunLoop.h"
#include "Platform/Workspace.h"

namespace stowboard {

class X11Desktop;

/// The applications on an X11 desktop whose window manager follows EWMH.
///
/// What is in front is the window manager's _NET_ACTIVE_WINDOW. Without a window manager, or with
/// one that does not follow EWMH, nothing is in front, and one that starts or takes over later is
/// picked up. Applications on a Wayland session's own windows are not seen: only those that run
/// through XWayland are.
///
/// Has an X connection of its own, read on the main thread when the server has something to say:
/// no polling. frontmostApplication() is never stale; it costs two round trips to the X server and
/// what ApplicationIdentifying takes. onDidActivate is also called when another window of the same
/// application comes to the front; one that is there for an instant only may be passed over.
///
/// A process id is only given for a window of this machine.
class X11Workspace final : public Workspace {
 public:
  /// `display` empty: $DISPLAY. Null when no X server can be reached. `loop` and `applications`
  /// must outlive the workspace. Main thread, with Qt's event loop.
  static std::unique_ptr<X11Workspace> create(RunLoop& loop,
                                              const ApplicationIdentifying& applications,
                                              const std::string& display = "");
  ~X11Workspace() override;

  std::optional<RunningApplication> frontmostApplication() const override;
  bool isTerminated(const RunningApplication& application) const override;
  bool activate(const RunningApplication& application) override;

  /// The window that activate() was asked for, until it is in front, for a second at most; 0 when
  /// there is none.
  std::uint64_t awaitedWindow() const;

 private:
  class Events;

  explicit X11Workspace(std::unique_ptr<X11Desktop> desktop, RunLoop& loop);
  void report();
  void requestActivation(std::uint32_t time);

  const std::unique_ptr<X11Desktop> desktop_;
  RunLoop& loop_;
  std::optional<RunningApplication> lastReported_;
  std::uint64_t awaitedWindow_ = 0;
  RunLoop::TimePoint awaitedSince_{};
  // Ends before the rest: it calls report().
  std::unique_ptr<Events> events_;
};

}  // namespace stowboard
