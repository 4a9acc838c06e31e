#include "Utils/ExcludedAppChecker.h"

namespace stowboard {

std::optional<std::string> FrontmostAppProvider::frontmostBundleId() const {
  const auto application = workspace_.frontmostApplication();
  return application ? application->bundleIdentifier : std::nullopt;
}

}  // namespace stowboard
