#pragma once

#include <memory>
#include <utility>

#include "Platform/AccessibilityTrust.h"
#include "Platform/X11/X11MainConnection.h"

namespace stowboard {

/// On X11 a program may type when the server has XTest and answers it: servers withhold it from
/// untrusted clients (the SECURITY extension) and some hosts switch it off.
class X11AccessibilityTrust final : public AccessibilityTrust {
 public:
  explicit X11AccessibilityTrust(std::shared_ptr<X11MainConnection> connection)
      : connection_(std::move(connection)) {}

  /// Waits for one round trip.
  bool isTrusted() const override;

  /// The accessibility page of the settings of the desktop that runs (XDG_CURRENT_DESKTOP), started
  /// apart from this program.
  void openSettings() override;
  bool canOpenSettings() const override;

 private:
  const std::shared_ptr<X11MainConnection> connection_;
};

}  // namespace stowboard
