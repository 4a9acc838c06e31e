#include "Platform/Compositor/ToldWorkspace.h"

#include <unistd.h>

#include <algorithm>
#include <utility>

namespace stowboard {

ToldWorkspace::ToldWorkspace(std::shared_ptr<WindowTeller> teller,
                             const ApplicationIdentifying& applications, std::string ownIdentifier)
    : teller_(std::move(teller)),
      applications_(applications),
      ownIdentifier_(std::move(ownIdentifier)) {
  teller_->onFrontDidChange = [this] { frontDidChange(); };
  teller_->onDidAddOwn = [this](const WindowTeller::Window& window) { didAddOwn(window); };
  teller_->onDidClose = [this](const std::string& id) { windows_.erase(numberOf(id)); };
}

ToldWorkspace::~ToldWorkspace() {
  teller_->onFrontDidChange = nullptr;
  teller_->onDidAddOwn = nullptr;
  teller_->onDidClose = nullptr;
}

std::uint64_t ToldWorkspace::numberOf(const std::string& id) const {
  const auto found =
      std::ranges::find_if(windows_, [&](const auto& each) { return each.second.id == id; });
  return found == windows_.end() ? 0 : found->first;
}

std::uint64_t ToldWorkspace::keep(const WindowTeller::Window& window) {
  auto number = numberOf(window.id);
  if (number == 0) number = ++last_;
  windows_[number] = window;
  return number;
}

RunningApplication ToldWorkspace::applicationOf(std::uint64_t number,
                                                const WindowTeller::Window& window) const {
  if (window.processIdentifier == ::getpid()) return {ownIdentifier_, ::getpid(), number};
  WindowTraits traits;
  traits.desktopFile = window.desktopFile;
  traits.wmClass = window.windowClass;
  traits.wmClassInstance = window.windowClass;
  traits.processIdentifier = window.processIdentifier;
  return {applications_.applicationId(traits), window.processIdentifier, number};
}

std::optional<RunningApplication> ToldWorkspace::frontmostApplication() const {
  const auto& front = teller_->front();
  if (!front) return std::nullopt;
  return applicationOf(numberOf(front->id), *front);
}

bool ToldWorkspace::isTerminated(const RunningApplication& application) const {
  if (application.processIdentifier == ::getpid()) return false;
  return !windows_.contains(application.window);
}

void ToldWorkspace::didAddOwn(const WindowTeller::Window& window) {
  newestOwn_ = keep(window);
  if (expectedOwn_ != 0) ownWindows_[std::exchange(expectedOwn_, 0)] = newestOwn_;
}

// 0 for one that has not come up yet.
std::uint64_t ToldWorkspace::ownWindow(std::uint64_t toolkitsNumber) {
  const auto known = ownWindows_.find(toolkitsNumber);
  if (known != ownWindows_.end() && windows_.contains(known->second)) return known->second;
  const bool isNewestKnown = std::ranges::any_of(
      ownWindows_, [this](const auto& each) { return each.second == newestOwn_; });
  if (isNewestKnown || !windows_.contains(newestOwn_)) {
    expectedOwn_ = toolkitsNumber;
    return 0;
  }
  return ownWindows_[toolkitsNumber] = newestOwn_;
}

bool ToldWorkspace::activate(const RunningApplication& application) {
  const bool isOwn = application.processIdentifier == ::getpid();
  const auto window = windows_.find(isOwn ? ownWindow(application.window) : application.window);
  if (window == windows_.end()) return isOwn;
  teller_->activate(window->second.id);
  const auto& front = teller_->front();
  awaitedWindow_ = front && front->id == window->second.id ? 0 : window->first;
  awaitedSince_ = std::chrono::steady_clock::now();
  return true;
}

std::uint64_t ToldWorkspace::awaitedWindow() const {
  constexpr auto longestWait = std::chrono::seconds(1);
  const bool isUnderWay = windows_.contains(awaitedWindow_) &&
                          std::chrono::steady_clock::now() - awaitedSince_ < longestWait;
  return isUnderWay ? awaitedWindow_ : 0;
}

std::string ToldWorkspace::windowClass(std::uint64_t window) const {
  const auto found = windows_.find(window);
  if (found == windows_.end()) return {};
  const auto& [id, desktopFile, windowClass, process] = found->second;
  return windowClass.empty() ? desktopFile : windowClass;
}

void ToldWorkspace::frontDidChange() {
  if (const auto& front = teller_->front()) {
    const auto number = keep(*front);
    if (number == awaitedWindow_) awaitedWindow_ = 0;
  }
  frontDidChange_();
  const auto application = frontmostApplication();
  if (!application || application == lastReported_) return;
  lastReported_ = application;
  // A copy, because the callee may replace it.
  if (const auto callback = onDidActivate) callback(*application);
}

}  // namespace stowboard
