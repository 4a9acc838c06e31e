#pragma once

namespace stowboard {

/// Whether this process may send key events to other applications. Main thread.
class AccessibilityTrust {
 public:
  virtual ~AccessibilityTrust() = default;

  /// Asked of the system anew at each call; without side effects.
  virtual bool isTrusted() const = 0;

  /// Whether this desktop has a page for it that can be shown. Looks at a few folders.
  virtual bool canOpenSettings() const = 0;

  /// Shows the page of the system's settings where trust is granted, where there is one; returns at
  /// once.
  virtual void openSettings() = 0;
};

}  // namespace stowboard
