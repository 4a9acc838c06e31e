#pragma once

#include <filesystem>

namespace stowboard {

/// Opens files with what the desktop has for them, by its xdg-open.
struct FileOpener {
  FileOpener() = delete;

  /// Starts the program, which outlives ours, and returns at once. Where the desktop has no
  /// xdg-open, the log says so. `file` is absolute. Main thread.
  static void open(const std::filesystem::path& file);
};

}  // namespace stowboard
