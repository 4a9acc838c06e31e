#pragma once

#include <memory>
#include <string>

#include "Platform/AccessibilityTrust.h"
#include "Platform/X11/X11Connection.h"

namespace stowboard {

/// On X11 a program may type when the server has XTest and answers it: servers withhold it from
/// untrusted clients (the SECURITY extension) and some hosts switch it off.
class X11AccessibilityTrust final : public AccessibilityTrust {
 public:
  /// `display` empty: $DISPLAY. Null when the server cannot be reached.
  static std::unique_ptr<X11AccessibilityTrust> create(const std::string& display = "");

  /// Waits for one round trip.
  bool isTrusted() const override;

  /// The accessibility page of the settings of the desktop that runs (XDG_CURRENT_DESKTOP), started
  /// apart from this program.
  void openSettings() override;

 private:
  explicit X11AccessibilityTrust(std::unique_ptr<X11Connection> connection)
      : connection_(std::move(connection)) {}

  const std::unique_ptr<X11Connection> connection_;
};

}  // namespace stowboard
