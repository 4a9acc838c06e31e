#pragma once

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Platform/Workspace.h"

namespace stowboard {

/// A desktop whose front application the test sets.
class FakeWorkspace final : public Workspace {
 public:
  std::optional<RunningApplication> frontmostApplication() const override { return frontmost_; }

  bool isTerminated(const RunningApplication& application) const override {
    return std::find(terminated.begin(), terminated.end(), application) != terminated.end();
  }
  bool activate(const RunningApplication& application) override {
    if (isTerminated(application)) return false;
    activations.push_back(application);
    bringToFront(application);
    return true;
  }

  /// What activate() was asked for, in order.
  std::vector<RunningApplication> activations;
  std::vector<RunningApplication> terminated;

  /// The user brings the application to the front; it is reported, unless it was the last one.
  void bringToFront(RunningApplication application) {
    frontmost_ = application;
    if (std::exchange(lastReported_, application) == application) return;
    if (onDidActivate) onDidActivate(application);
  }
  void bringToFront(const std::string& bundleIdentifier) {
    RunningApplication application;
    application.bundleIdentifier = bundleIdentifier;
    bringToFront(std::move(application));
  }

  /// Changes the answer without a report; absent: nothing is in front.
  void setFrontmost(std::optional<RunningApplication> application) {
    frontmost_ = std::move(application);
  }

 private:
  std::optional<RunningApplication> frontmost_;
  std::optional<RunningApplication> lastReported_;
};

}  // namespace stowboard
