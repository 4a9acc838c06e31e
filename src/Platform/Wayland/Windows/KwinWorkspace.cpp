#include "Platform/Wayland/Windows/KwinWorkspace.h"

#include <unistd.h>

#include <algorithm>
#include <utility>

namespace stowboard {

KwinWorkspace::KwinWorkspace(std::shared_ptr<KwinScript> script,
                             const ApplicationIdentifying& applications, std::string ownIdentifier)
    : script_(std::move(script)),
      applications_(applications),
      ownIdentifier_(std::move(ownIdentifier)) {
  script_->onFrontDidChange = [this] { frontDidChange(); };
  script_->onDidAddOwn = [this](const KwinScript::Window& window) { didAddOwn(window); };
  script_->onDidClose = [this](const std::string& id) { windows_.erase(numberOf(id)); };
}

KwinWorkspace::~KwinWorkspace() {
  script_->onFrontDidChange = nullptr;
  script_->onDidAddOwn = nullptr;
  script_->onDidClose = nullptr;
}

std::uint64_t KwinWorkspace::numberOf(const std::string& id) const {
  const auto found =
      std::ranges::find_if(windows_, [&](const auto& each) { return each.second.id == id; });
  return found == windows_.end() ? 0 : found->first;
}

std::uint64_t KwinWorkspace::keep(const KwinScript::Window& window) {
  auto number = numberOf(window.id);
  if (number == 0) number = ++last_;
  windows_[number] = window;
  return number;
}

RunningApplication KwinWorkspace::applicationOf(std::uint64_t number,
                                                const KwinScript::Window& window) const {
  if (window.processIdentifier == ::getpid()) return {ownIdentifier_, ::getpid(), number};
  WindowTraits traits;
  traits.desktopFile = window.desktopFile;
  traits.wmClass = window.windowClass;
  traits.wmClassInstance = window.windowClass;
  traits.processIdentifier = window.processIdentifier;
  return {applications_.applicationId(traits), window.processIdentifier, number};
}

std::optional<RunningApplication> KwinWorkspace::frontmostApplication() const {
  const auto& front = script_->front();
  if (!front) return std::nullopt;
  return applicationOf(numberOf(front->id), *front);
}

bool KwinWorkspace::isTerminated(const RunningApplication& application) const {
  if (application.processIdentifier == ::getpid()) return false;
  return !windows_.contains(application.window);
}

void KwinWorkspace::didAddOwn(const KwinScript::Window& window) {
  newestOwn_ = keep(window);
  if (expectedOwn_ != 0) ownWindows_[std::exchange(expectedOwn_, 0)] = newestOwn_;
}

// 0 for one that has not come up yet.
std::uint64_t KwinWorkspace::ownWindow(std::uint64_t toolkitsNumber) {
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

bool KwinWorkspace::activate(const RunningApplication& application) {
  const bool isOwn = application.processIdentifier == ::getpid();
  const auto window = windows_.find(isOwn ? ownWindow(application.window) : application.window);
  if (window == windows_.end()) return isOwn;
  script_->activate(window->second.id);
  const auto& front = script_->front();
  awaitedWindow_ = front && front->id == window->second.id ? 0 : window->first;
  awaitedSince_ = std::chrono::steady_clock::now();
  return true;
}

std::uint64_t KwinWorkspace::awaitedWindow() const {
  constexpr auto longestWait = std::chrono::seconds(1);
  const bool isUnderWay = windows_.contains(awaitedWindow_) &&
                          std::chrono::steady_clock::now() - awaitedSince_ < longestWait;
  return isUnderWay ? awaitedWindow_ : 0;
}

std::string KwinWorkspace::windowClass(std::uint64_t window) const {
  const auto found = windows_.find(window);
  if (found == windows_.end()) return {};
  const auto& [id, desktopFile, windowClass, process] = found->second;
  return windowClass.empty() ? desktopFile : windowClass;
}

void KwinWorkspace::frontDidChange() {
  if (const auto& front = script_->front()) {
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
