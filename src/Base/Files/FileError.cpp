#include "Base/Files/FileError.h"

#include <fmt/format.h>

#include <cerrno>
#include <system_error>

namespace stowboard {

FileError lastFileError(std::string_view action, const std::filesystem::path& path) {
  const std::string reason = std::generic_category().message(errno);
  return {fmt::format("{} ({} {})", reason, action, path.native())};
}

}  // namespace stowboard
