#include "Platform/Desktop/XdgBundle.h"

#include <cstdlib>
#include <system_error>

#include "Platform/Desktop/XdgFolders.h"

namespace stowboard {

std::string XdgBundle::version() const { return STOWBOARD_VERSION; }

std::filesystem::path XdgBundle::executable() const {
  std::error_code unknown;
  return std::filesystem::read_symlink("/proc/self/exe", unknown);
}

std::filesystem::path XdgBundle::applicationSupportFolder() const { return XdgFolders::dataHome(); }

std::optional<std::string> XdgBundle::environment(const std::string& name) const {
  const char* value = std::getenv(name.c_str());
  return value ? std::optional<std::string>(value) : std::nullopt;
}

}  // namespace stowboard
