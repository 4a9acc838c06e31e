#pragma once

#include "Platform/AccessibilityTrust.h"

namespace stowboard {

/// Trust that the test grants, and a count of how often it was asked for.
struct FakeAccessibilityTrust : AccessibilityTrust {
  bool trusted = false;
  int openings = 0;
  mutable int questions = 0;

  bool isTrusted() const override {
    questions += 1;
    return trusted;
  }
  void openSettings() override { openings += 1; }
};

}  // namespace stowboard
