#include "Platform/Wayland/Windows/SwayTransientWindows.h"

#include <fmt/format.h>

namespace stowboard {

void SwayTransientWindows::prepareToShow(std::uint64_t window, int shadowMargin) {
  onX11_->prepareToShow(window, shadowMargin);
  // A rule for the window would be followed the first time only.
  awaited_ = SwayIpc::subscribe(R"(["window"])", [this, window](const SwayIpc::Event& event) {
    if (event.change != "new" || event.window != window) return;
    sway_->run(fmt::format("[id={}] move position cursor", window));
    awaited_.reset();
  });
}

}  // namespace stowboard
