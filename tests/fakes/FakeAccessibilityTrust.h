#pragma once

#include "Platform/AccessibilityTrust.h"

namespace stowboard {

/// Trust that the test grants, and a count of how often it was asked for.
struct FakeAccessibilityTrust : AccessibilityTrust {
  bool trusted = false;
  bool hasSettings = true;
  int openings = 0;
  mutable int questions = 0;

  bool isTrusted() const override {
    questions += 1;
    return trusted;
  }
  bool canOpenSettings() const override { return hasSettings; }
  void openSettings() override { openings += 1; }
};

}  // namespace stowboard
