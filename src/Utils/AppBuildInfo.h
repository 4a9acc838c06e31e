#pragma once

#include <string>

#include "Platform/Bundle.h"

namespace stowboard {

/// What the program shows of its own build. Safe to use from any thread.
class AppBuildInfo {
 public:
  AppBuildInfo() = delete;

  /// The version text, for instance v20250303; never empty. The bundle's own version where that is
  /// a date stamp already, otherwise the day on which the executable was last modified, in the
  /// current time zone, or today where that is unknown. Looks at the file each time.
  static std::string buildVersionString(const Bundle& bundle);
};

}  // namespace stowboard
