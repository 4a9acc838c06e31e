#include "Platform/Wayland/Windows/SwayTransientWindows.h"

#include <fmt/format.h>

namespace stowboard {

void SwayTransientWindows::prepareToShow(std::uint64_t window, int shadowMargin) {
  onX11_->prepareToShow(window, shadowMargin);
  // A rule for the window would be followed the first time only.
  subscription_ = SwayIpc::subscribe(
      R"(["window"])", [this, window](const SwayIpc::Event& event) { follow(window, event); });
}

std::unique_ptr<TransientWindows::Watch> SwayTransientWindows::watch(
    std::uint64_t window, std::function<void()> /*onClickOutside*/) {
  return onX11_->watch(window, [] {});
}

void SwayTransientWindows::follow(std::uint64_t window, const SwayIpc::Event& event) {
  if (event.window != window) return;
  if (event.change == "new") {
    sway_->run(fmt::format("[id={}] move position cursor", window));
    covering_ = event.isFocused ? 0 : sway_->focusedFullscreen();
    if (covering_ != 0) sway_->run(fmt::format("[id={}] focus", window));
  } else if (event.change == "close") {
    if (covering_ != 0) sway_->run(fmt::format("[con_id={}] fullscreen enable", covering_));
    subscription_.reset();
  }
}

}  // namespace stowboard
