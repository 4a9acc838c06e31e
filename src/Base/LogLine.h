#pragma once

#include <string>

namespace stowboard {

/// What one call of a logger says.
struct LogLine {
  bool isError = false;
  std::string category;
  std::string message;

  friend bool operator==(const LogLine&, const LogLine&) = default;
};

}  // namespace stowboard
