#include "Utils/AppBuildInfo.h"

#include <fmt/format.h>

#include <chrono>
#include <filesystem>
#include <system_error>

#include "Base/DateFormat.h"

namespace stowboard {

namespace {

Timestamp dayOfBuild(const std::filesystem::path& executable) {
  std::error_code unknown;
  const auto modified = std::filesystem::last_write_time(executable, unknown);
  if (unknown) return Timestamp::now();
  return Timestamp::fromSystemTime(std::chrono::file_clock::to_sys(modified));
}

}  // namespace

std::string AppBuildInfo::buildVersionString(const Bundle& bundle) {
  if (std::string version = bundle.version(); version.starts_with("v20")) return version;
  return fmt::format("v{}",
                     DateFormat("yyyyMMdd", "en_US_POSIX").format(dayOfBuild(bundle.executable())));
}

}  // namespace stowboard
