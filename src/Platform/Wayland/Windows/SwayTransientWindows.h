#pragma once

#include <memory>
#include <utility>

#include "Platform/TransientWindows.h"
#include "Platform/Wayland/SwayIpc.h"

namespace stowboard {

/// Windows of XWayland on sway, which places them itself and tells X11 programs of the pointer only
/// while it is over one of theirs: sway is asked to put them at the pointer when they come up,
/// before it shows them.
class SwayTransientWindows final : public TransientWindows {
 public:
  SwayTransientWindows(std::shared_ptr<SwayIpc> sway, std::unique_ptr<TransientWindows> onX11)
      : sway_(std::move(sway)), onX11_(std::move(onX11)) {}

  void prepareToShow(std::uint64_t window, int shadowMargin) override;
  std::unique_ptr<Watch> watch(std::uint64_t window,
                               std::function<void()> onClickOutside) override {
    return onX11_->watch(window, std::move(onClickOutside));
  }

 private:
  const std::shared_ptr<SwayIpc> sway_;
  const std::unique_ptr<TransientWindows> onX11_;
  std::unique_ptr<SwayIpc::Subscription> awaited_;
};

}  // namespace stowboard
