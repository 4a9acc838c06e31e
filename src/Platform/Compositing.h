#pragma once

#include <functional>

namespace stowboard {

/// Whether windows are blended with what is behind them. Main thread.
class Compositing {
 public:
  virtual ~Compositing() = default;

  /// Asked of the window system at each call. Where it is false, a translucent pixel shows as an
  /// opaque one.
  virtual bool isRunning() const = 0;

  /// Called when that may have changed. Absent at first.
  std::function<void()> onDidChange;
};

}  // namespace stowboard
