#pragma once

#include <optional>
#include <string>

namespace stowboard {

/// The system would not change whether the program starts at login.
struct LoginItemError {
  /// The system's own words.
  std::string underlying;

  /// What the user is told.
  std::string localizedDescription() const { return "Failed to update login item: " + underlying; }
};

/// Launching at login. Main thread.
class LoginItemServicing {
 public:
  virtual ~LoginItemServicing() = default;

  /// Read from the system at each call.
  virtual bool isEnabled() const = 0;
  /// Absent on success.
  virtual std::optional<LoginItemError> setEnabled(bool isEnabled) = 0;
};

}  // namespace stowboard
