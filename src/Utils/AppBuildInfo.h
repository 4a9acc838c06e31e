#pragma once

#include <string>

#include "Platform/Bundle.h"

namespace stowboard {

class AppBuildInfo {
 public:
  static std::string buildVersionString(const Bundle& bundle) { return bundle.version(); }
};

}  // namespace stowboard
