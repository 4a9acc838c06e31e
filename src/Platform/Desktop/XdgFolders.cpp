#include "Platform/Desktop/XdgFolders.h"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <optional>
#include <sstream>
#include <string>

namespace stowboard {

namespace {

using std::filesystem::path;

std::optional<path> absoluteVariable(const char* name) {
  const char* value = std::getenv(name);
  const path folder = value ? value : "";
  return folder.is_absolute() ? std::optional(folder) : std::nullopt;
}

std::optional<path> homeOfPasswordDatabase() {
  std::array<char, 16384> buffer;
  passwd entry{};
  passwd* found = nullptr;
  getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found);
  const path folder = found && found->pw_dir ? found->pw_dir : "";
  return folder.is_absolute() ? std::optional(folder) : std::nullopt;
}

void appendOnce(std::vector<path>& folders, const path& folder) {
  // "/usr/share/" and "/usr/share" are one folder.
  const path plain = (folder / "").parent_path();
  if (std::find(folders.begin(), folders.end(), plain) == folders.end()) folders.push_back(plain);
}

// Appends the absolute folders of a colon-separated variable, or of its default.
void appendListed(std::vector<path>& folders, const char* variable, const char* standard) {
  const char* listed = std::getenv(variable);
  std::istringstream list(listed && *listed ? listed : standard);
  for (std::string each; std::getline(list, each, ':');) {
    if (path(each).is_absolute()) appendOnce(folders, each);
  }
}

}  // namespace

path XdgFolders::home() {
  if (const auto home = absoluteVariable("HOME")) return *home;
  return homeOfPasswordDatabase().value_or("/");
}

path XdgFolders::dataHome() {
  return absoluteVariable("XDG_DATA_HOME").value_or(home() / ".local/share");
}

std::vector<path> XdgFolders::data() {
  std::vector<path> folders;
  appendOnce(folders, dataHome());
  appendListed(folders, "XDG_DATA_DIRS", "/usr/local/share:/usr/share");
  appendOnce(folders, dataHome() / "flatpak/exports/share");
  appendOnce(folders, "/var/lib/flatpak/exports/share");
  appendOnce(folders, "/var/lib/snapd/desktop");
  return folders;
}

path XdgFolders::configHome() {
  return absoluteVariable("XDG_CONFIG_HOME").value_or(home() / ".config");
}

std::vector<path> XdgFolders::systemConfig() {
  std::vector<path> folders;
  appendListed(folders, "XDG_CONFIG_DIRS", "/etc/xdg");
  return folders;
}

}  // namespace stowboard
