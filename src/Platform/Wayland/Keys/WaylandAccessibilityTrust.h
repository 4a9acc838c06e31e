#pragma once

#include <memory>
#include <utility>

#include "Platform/AccessibilityTrust.h"
#include "Platform/Wayland/Keys/KwinTypingDevice.h"
#include "Platform/Wayland/Keys/VirtualKeyboard.h"
#include "Platform/Wayland/WaylandMainConnection.h"

namespace stowboard {

/// A compositor that lets this program type asks nobody: there is nothing to be granted, and no
/// page of the settings for it.
class WaylandAccessibilityTrust final : public AccessibilityTrust {
 public:
  explicit WaylandAccessibilityTrust(std::shared_ptr<WaylandMainConnection> connection)
      : connection_(std::move(connection)) {}

  bool isTrusted() const override {
    const auto& connection = connection_->connection();
    return !connection_->isBroken() &&
           (VirtualKeyboard::isAllowed(connection) || KwinTypingDevice::isAllowed(connection));
  }
  bool canOpenSettings() const override { return false; }
  void openSettings() override {}

 private:
  const std::shared_ptr<WaylandMainConnection> connection_;
};

}  // namespace stowboard
