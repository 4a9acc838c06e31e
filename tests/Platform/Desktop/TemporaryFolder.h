#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>

namespace stowboard {

/// A folder of the test's own, removed with everything in it at the end.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "stowboard-XXXXXX").string();
    if (!mkdtemp(pattern.data())) throw std::runtime_error("no temporary folder");
    path_ = pattern;
  }
  ~TemporaryFolder() { std::filesystem::remove_all(path_); }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }

  void write(const std::filesystem::path& file, std::string_view content) const {
    std::filesystem::create_directories((path_ / file).parent_path());
    std::ofstream(path_ / file, std::ios::binary) << content;
  }

 private:
  std::filesystem::path path_;
};

}  // namespace stowboard
