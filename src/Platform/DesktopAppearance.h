#pragma once

#include <functional>

#include "Models/Appearance.h"

namespace stowboard {

/// The user's preference for how programs look. Main thread.
class DesktopAppearance {
 public:
  virtual ~DesktopAppearance() = default;

  /// The preference as it is known now; no preference until the system has told it. Never waits.
  virtual Appearance appearance() const = 0;

  /// Called on the main thread whenever it has become another one, the first answer included.
  std::function<void(const Appearance&)> onDidChange;
};

}  // namespace stowboard
