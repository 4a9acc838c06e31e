#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Wayland/Toplevels.h"
#include "Platform/Wayland/WaylandMainConnection.h"
#include "Platform/Workspace.h"

namespace stowboard {

/// The applications of a Wayland session whose compositor tells of its windows, those on XWayland
/// included. Their windows have the numbers of Toplevels. No process id is known but our own.
class WaylandWorkspace final : public Workspace {
 public:
  /// What our own windows are known by.
  struct Own {
    /// Ours as an application; see Bundle.
    std::string identifier;
    /// What the compositor calls our windows.
    std::string windowClass;
  };

  /// Null when the compositor does not tell of windows; waits for its answer. `applications` must
  /// outlive the workspace.
  static std::unique_ptr<WaylandWorkspace> create(std::shared_ptr<WaylandMainConnection> connection,
                                                  const ApplicationIdentifying& applications,
                                                  Own own);

  std::optional<RunningApplication> frontmostApplication() const override;
  bool isTerminated(const RunningApplication& application) const override;
  /// For our own application, the window that has come last: the toolkit's number says nothing
  /// here.
  bool activate(const RunningApplication& application) override;

  /// The window that activate() was asked for, until it is in front, for a second at most; 0 when
  /// there is none.
  std::uint64_t awaitedWindow() const;
  /// What a window is called by: its application's id, or its class.
  std::string windowClass(std::uint64_t window) const { return toplevels_->name(window); }
  /// Calls it each time that another window has come to the front, before onDidActivate.
  void follow(std::function<void()> frontDidChange) { frontDidChange_ = std::move(frontDidChange); }

 private:
  WaylandWorkspace(std::shared_ptr<WaylandMainConnection> connection,
                   std::unique_ptr<Toplevels> toplevels, Own own);

  bool isOwn(Toplevels::Number window) const;
  void report();

  const std::shared_ptr<WaylandMainConnection> connection_;
  const std::unique_ptr<Toplevels> toplevels_;
  const Own own_;
  std::function<void()> frontDidChange_ = [] {};
  std::optional<RunningApplication> lastReported_;
  std::uint64_t awaitedWindow_ = 0;
  std::chrono::steady_clock::time_point awaitedSince_{};
};

}  // namespace stowboard
