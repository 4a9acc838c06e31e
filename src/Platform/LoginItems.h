#pragma once

#include <optional>
#include <string>

namespace stowboard {

/// The system's list of what starts with the user's session, as far as it concerns this program.
/// Main thread.
class LoginItems {
 public:
  enum class Status { notRegistered, enabled, requiresApproval, notFound };

  virtual ~LoginItems() = default;

  /// Read from the system at each call.
  virtual Status status() const = 0;

  /// Each gives the system's own words when it fails, and nothing when it succeeds.
  virtual std::optional<std::string> registerApplication() = 0;
  virtual std::optional<std::string> unregisterApplication() = 0;
};

}  // namespace stowboard
