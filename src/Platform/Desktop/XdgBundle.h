#pragma once

#include "Platform/Bundle.h"

namespace stowboard {

/// The running program on a desktop that follows the XDG standards.
class XdgBundle final : public Bundle {
 public:
  static constexpr const char* applicationId = "com.qarvin.stowboard";

  std::string identifier() const override { return applicationId; }
  std::string version() const override;
  std::filesystem::path executable() const override;
  /// $XDG_DATA_HOME, or ~/.local/share; see XdgFolders.
  std::filesystem::path applicationSupportFolder() const override;
  std::optional<std::string> environment(const std::string& name) const override;
};

}  // namespace stowboard
