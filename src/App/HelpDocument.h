#pragma once

#include <filesystem>

#include "Models/AppSettings.h"
#include "Platform/RunLoop.h"
#include "Platform/Workspace.h"

namespace stowboard {

class HelpDocument {
 public:
  HelpDocument(RunLoop&, Workspace&, std::filesystem::path) {}
  void open(const AppSettings&) {}
};

}  // namespace stowboard
