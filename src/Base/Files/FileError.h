#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace stowboard {

/// Why work on a file failed, in words that begin with the system's own: "No space left on device
/// (writing /home/ada/.local/share/…)". Empty for none.
struct FileError {
  std::string description;

  bool empty() const { return description.empty(); }
};

/// The error that errno holds. `action` is what was being done to `path`, in its -ing form.
FileError lastFileError(std::string_view action, const std::filesystem::path& path);

}  // namespace stowboard
