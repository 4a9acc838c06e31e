#pragma once

#include <vector>

#include "Platform/FileOpener.h"

namespace stowboard {

class FakeFileOpener final : public FileOpener {
 public:
  std::vector<std::filesystem::path> opened;

  void open(const std::filesystem::path& file) override { opened.push_back(file); }
};

}  // namespace stowboard
