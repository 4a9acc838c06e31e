#pragma once

#include "Platform/AccessibilityTrust.h"

namespace stowboard {

/// Answers whether key events may be sent to other applications, and guides the user to the
/// system's settings once a run when they may not. Main thread.
class PermissionHelper {
 public:
  /// `trust` must outlive the helper.
  explicit PermissionHelper(AccessibilityTrust& trust) : trust_(trust) {}

  /// Asked of the system at each call.
  bool isGranted() const { return trust_.isTrusted(); }
  /// The same answer; a missing permission is logged, and the first time the settings are opened.
  bool requestIfNeeded();
  bool canOpenAccessibilitySettings() const { return trust_.canOpenSettings(); }
  void openAccessibilitySettings() { trust_.openSettings(); }

 private:
  AccessibilityTrust& trust_;
  bool hasGuidedToSettings_ = false;
};

}  // namespace stowboard
