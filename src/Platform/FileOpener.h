#pragma once

#include <filesystem>

namespace stowboard {

/// Has the desktop show files with the programs that it has for their types. Main thread.
class FileOpener {
 public:
  virtual ~FileOpener() = default;

  /// Returns at once. What becomes of it is not told; the log says where nothing can be started.
  /// `file` is absolute.
  virtual void open(const std::filesystem::path& file) = 0;
};

}  // namespace stowboard
