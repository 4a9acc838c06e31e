#pragma once

#include "Platform/FileOpener.h"

namespace stowboard {

/// Opens files by the desktop's xdg-open, which outlives our program.
class XdgFileOpener final : public FileOpener {
 public:
  void open(const std::filesystem::path& file) override;
};

}  // namespace stowboard
