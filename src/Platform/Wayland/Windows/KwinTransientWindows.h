#pragma once

#include <memory>
#include <utility>

#include "Platform/TransientWindows.h"

namespace stowboard {

/// Windows of XWayland on KWin, which our script there puts in their places (KwinScript). KWin
/// tells X11 programs of the pointer only while it is over one of theirs.
class KwinTransientWindows final : public TransientWindows {
 public:
  explicit KwinTransientWindows(std::unique_ptr<TransientWindows> onX11)
      : onX11_(std::move(onX11)) {}

  void prepareToShow(std::uint64_t window, int shadowMargin) override {
    onX11_->prepareToShow(window, shadowMargin);
  }
  /// Calls nothing back: whatever takes clicks takes the focus too.
  std::unique_ptr<Watch> watch(std::uint64_t window,
                               std::function<void()> /*onClickOutside*/) override {
    return onX11_->watch(window, [] {});
  }

 private:
  const std::unique_ptr<TransientWindows> onX11_;
};

}  // namespace stowboard
