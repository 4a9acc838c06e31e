#pragma once

#include <utility>

#include "Platform/DesktopAppearance.h"

namespace stowboard {

/// A desktop whose preference the test sets.
class FakeDesktopAppearance final : public DesktopAppearance {
 public:
  Appearance appearance() const override { return appearance_; }

  void prefer(const Appearance& wanted) {
    if (std::exchange(appearance_, wanted) == wanted) return;
    if (const auto callback = onDidChange) callback(wanted);
  }

 private:
  Appearance appearance_;
};

}  // namespace stowboard
