#pragma once

#include <memory>
#include <utility>

#include "Platform/TransientWindows.h"

namespace stowboard {

/// Transient windows whose outside the test clicks.
class FakeTransientWindows final : public TransientWindows {
 public:
  /// What was announced last.
  int shadowMargin = 0;

  void prepareToShow(std::uint64_t, int margin) override { shadowMargin = margin; }
  std::unique_ptr<Watch> watch(std::uint64_t, std::function<void()> onClickOutside) override {
    auto watch = std::make_unique<FakeWatch>();
    watch->onClickOutside = std::make_shared<std::function<void()>>(std::move(onClickOutside));
    onClickOutside_ = watch->onClickOutside;
    watch_ = watch.get();
    return watch;
  }

  bool isWatching() const { return !onClickOutside_.expired(); }
  void clickOutside() {
    if (const auto callback = onClickOutside_.lock()) (*callback)();
    if (isWatching() && watch_->onRelease) watch_->onRelease();
  }

 private:
  struct FakeWatch : Watch {
    std::shared_ptr<std::function<void()>> onClickOutside;
  };

  std::weak_ptr<std::function<void()>> onClickOutside_;
  Watch* watch_ = nullptr;
};

}  // namespace stowboard
