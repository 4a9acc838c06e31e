#include "Utils/AppBuildInfo.h"

#include <fmt/chrono.h>

#include <chrono>
#include <filesystem>
#include <system_error>

namespace stowboard {

namespace {

std::chrono::system_clock::time_point dayOfBuild(const std::filesystem::path& executable) {
  std::error_code unknown;
  const auto modified = std::filesystem::last_write_time(executable, unknown);
  if (unknown) return std::chrono::system_clock::now();
  return std::chrono::file_clock::to_sys(modified);
}

}  // namespace

std::string AppBuildInfo::buildVersionString(const Bundle& bundle) {
  if (std::string version = bundle.version(); version.starts_with("v20")) return version;
  return fmt::format(
      "v{:%Y%m%d}",
      fmt::localtime(std::chrono::system_clock::to_time_t(dayOfBuild(bundle.executable()))));
}

}  // namespace stowboard
