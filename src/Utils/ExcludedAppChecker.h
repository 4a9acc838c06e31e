#pragma once

#include <optional>
#include <set>
#include <string>

#include "Platform/Workspace.h"

namespace stowboard {

/// The rule that keeps some applications' copies out of the history.
class ExcludedAppChecker {
 public:
  explicit ExcludedAppChecker(std::set<std::string> excludedBundleIds)
      : excludedBundleIds_(std::move(excludedBundleIds)) {}

  /// Whether the set holds exactly this application id, letter case included. An absent id, of no
  /// front application or of one that does not tell, is never excluded.
  bool isExcluded(const std::optional<std::string>& bundleIdentifier) const {
    return bundleIdentifier && excludedBundleIds_.contains(*bundleIdentifier);
  }

 private:
  std::set<std::string> excludedBundleIds_;
};

/// Names the application in front. Main thread.
class FrontmostAppProviding {
 public:
  virtual ~FrontmostAppProviding() = default;

  /// The id of the application in front at the moment of the call; absent when there is none, or
  /// when it does not tell.
  virtual std::optional<std::string> frontmostBundleId() const = 0;
};

/// Asks the desktop, afresh each time.
class FrontmostAppProvider final : public FrontmostAppProviding {
 public:
  /// `workspace` must outlive the provider.
  explicit FrontmostAppProvider(const Workspace& workspace) : workspace_(workspace) {}

  std::optional<std::string> frontmostBundleId() const override;

 private:
  const Workspace& workspace_;
};

}  // namespace stowboard
