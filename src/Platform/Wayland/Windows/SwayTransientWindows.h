#pragma once

#include <memory>
#include <utility>

#include "Platform/TransientWindows.h"
#include "Platform/Wayland/SwayIpc.h"

namespace stowboard {

/// Windows of XWayland on sway, which places them itself and tells X11 programs of the pointer only
/// while it is over one of theirs: sway is asked to put them at the pointer when they come up,
/// before it shows them. A window that fills the screen, which sway puts above all others, leaves
/// the full screen for as long.
class SwayTransientWindows final : public TransientWindows {
 public:
  SwayTransientWindows(std::shared_ptr<SwayIpc> sway, std::unique_ptr<TransientWindows> onX11)
      : sway_(std::move(sway)), onX11_(std::move(onX11)) {}

  void prepareToShow(std::uint64_t window, int shadowMargin) override;
  /// Calls nothing back: whatever takes clicks takes the focus too, and XWayland's server may think
  /// of the pointer as where it last was.
  std::unique_ptr<Watch> watch(std::uint64_t window, std::function<void()> onClickOutside) override;

 private:
  void follow(std::uint64_t window, const SwayIpc::Event& event);

  const std::shared_ptr<SwayIpc> sway_;
  const std::unique_ptr<TransientWindows> onX11_;
  // While a window of ours comes, is there and goes.
  std::unique_ptr<SwayIpc::Subscription> subscription_;
  // The window that has left the full screen; 0 for none.
  std::uint64_t covering_ = 0;
};

}  // namespace stowboard
