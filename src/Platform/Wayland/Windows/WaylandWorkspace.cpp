#include "Platform/Wayland/Windows/WaylandWorkspace.h"

#include <unistd.h>

#include <utility>

namespace stowboard {

std::unique_ptr<WaylandWorkspace> WaylandWorkspace::create(
    std::shared_ptr<WaylandMainConnection> connection, const ApplicationIdentifying& applications,
    Own own) {
  auto toplevels = Toplevels::create(connection->connection(), applications);
  if (!toplevels) return nullptr;
  return std::unique_ptr<WaylandWorkspace>(
      new WaylandWorkspace(std::move(connection), std::move(toplevels), std::move(own)));
}

WaylandWorkspace::WaylandWorkspace(std::shared_ptr<WaylandMainConnection> connection,
                                   std::unique_ptr<Toplevels> toplevels, Own own)
    : connection_(std::move(connection)), toplevels_(std::move(toplevels)), own_(std::move(own)) {
  toplevels_->onDidChange = [this] { report(); };
  lastReported_ = frontmostApplication();
}

bool WaylandWorkspace::isOwn(Toplevels::Number window) const {
  const auto name = toplevels_->name(window);
  return name == own_.windowClass || name == own_.identifier;
}

std::optional<RunningApplication> WaylandWorkspace::frontmostApplication() const {
  const auto front = toplevels_->front();
  if (front == 0) return std::nullopt;
  if (isOwn(front)) return RunningApplication{own_.identifier, ::getpid(), front};
  return RunningApplication{toplevels_->applicationId(front), 0, front};
}

bool WaylandWorkspace::isTerminated(const RunningApplication& application) const {
  if (application.processIdentifier == ::getpid()) return false;
  return !toplevels_->isOpen(application.window);
}

bool WaylandWorkspace::activate(const RunningApplication& application) {
  auto window = application.window;
  if (application.processIdentifier == ::getpid()) {
    window = toplevels_->newest([this](Toplevels::Number each) { return isOwn(each); });
  }
  if (!toplevels_->activate(window)) return false;
  awaitedWindow_ = window == toplevels_->front() ? 0 : window;
  awaitedSince_ = std::chrono::steady_clock::now();
  return true;
}

std::uint64_t WaylandWorkspace::awaitedWindow() const {
  constexpr auto longestWait = std::chrono::seconds(1);
  const bool isUnderWay = toplevels_->isOpen(awaitedWindow_) &&
                          std::chrono::steady_clock::now() - awaitedSince_ < longestWait;
  return isUnderWay ? awaitedWindow_ : 0;
}

void WaylandWorkspace::report() {
  if (toplevels_->front() == awaitedWindow_) awaitedWindow_ = 0;
  frontDidChange_();
  const auto application = frontmostApplication();
  if (!application || application == lastReported_) return;
  lastReported_ = application;
  // A copy, because the callee may replace it.
  if (const auto callback = onDidActivate) callback(*application);
}

}  // namespace stowboard
