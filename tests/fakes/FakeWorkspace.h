#pragma once

#include <optional>
#include <string>
#include <utility>

#include "Platform/Workspace.h"

namespace stowboard {

/// A desktop whose front application the test sets.
class FakeWorkspace final : public Workspace {
 public:
  std::optional<RunningApplication> frontmostApplication() const override { return frontmost_; }

  /// Brings the application to the front and reports it, unless it was the last one reported.
  void activate(RunningApplication application) {
    frontmost_ = application;
    if (std::exchange(lastReported_, application) == application) return;
    if (onDidActivate) onDidActivate(application);
  }
  void activate(const std::string& bundleIdentifier) {
    RunningApplication application;
    application.bundleIdentifier = bundleIdentifier;
    activate(std::move(application));
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
