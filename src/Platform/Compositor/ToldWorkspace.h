#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "Platform/ApplicationIdentifying.h"
#include "Platform/Compositor/WindowTeller.h"
#include "Platform/Workspace.h"

namespace stowboard {

/// The applications of a session whose compositor has a teller of ours. Windows are numbered as
/// they come to the front, from 1; one that never was there is not known, unless it is ours.
class ToldWorkspace final : public Workspace {
 public:
  /// `applications` must outlive the workspace; `ownIdentifier` is ours as an application (see
  /// Bundle).
  ToldWorkspace(std::shared_ptr<WindowTeller> teller, const ApplicationIdentifying& applications,
                std::string ownIdentifier);
  ~ToldWorkspace() override;

  std::optional<RunningApplication> frontmostApplication() const override;
  bool isTerminated(const RunningApplication& application) const override;
  /// For our own application, the window that has the toolkit's number. One that comes up just now
  /// gets the focus by itself.
  bool activate(const RunningApplication& application) override;

  /// The window that activate() was asked for, until it is in front, for a second at most; 0 when
  /// there is none.
  std::uint64_t awaitedWindow() const;
  /// The window's class, or for want of one its application's id.
  std::string windowClass(std::uint64_t window) const;
  /// Calls it each time that another window has come to the front, before onDidActivate.
  void follow(std::function<void()> frontDidChange) { frontDidChange_ = std::move(frontDidChange); }

 private:
  void frontDidChange();
  void didAddOwn(const WindowTeller::Window& window);
  std::uint64_t ownWindow(std::uint64_t toolkitsNumber);
  std::uint64_t keep(const WindowTeller::Window& window);
  std::uint64_t numberOf(const std::string& id) const;
  RunningApplication applicationOf(std::uint64_t number, const WindowTeller::Window& window) const;

  const std::shared_ptr<WindowTeller> teller_;
  const ApplicationIdentifying& applications_;
  const std::string ownIdentifier_;
  std::map<std::uint64_t, WindowTeller::Window> windows_;
  std::uint64_t last_ = 0;
  // Ours by the toolkit's numbers, as far as we have learnt which is which; the newest; and whose
  // number was asked for before it came up.
  std::map<std::uint64_t, std::uint64_t> ownWindows_;
  std::uint64_t newestOwn_ = 0;
  std::uint64_t expectedOwn_ = 0;
  std::function<void()> frontDidChange_ = [] {};
  std::optional<RunningApplication> lastReported_;
  std::uint64_t awaitedWindow_ = 0;
  std::chrono::steady_clock::time_point awaitedSince_{};
};

}  // namespace stowboard
