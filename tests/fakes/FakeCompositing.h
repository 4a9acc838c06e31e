#pragma once

#include "Platform/Compositing.h"

namespace stowboard {

/// Compositing that the test switches.
class FakeCompositing final : public Compositing {
 public:
  bool isRunning() const override { return isRunning_; }
  void setRunning(bool isRunning) {
    isRunning_ = isRunning;
    // A copy, because the callee may replace it.
    if (const auto callback = onDidChange) callback();
  }

 private:
  bool isRunning_ = false;
};

}  // namespace stowboard
