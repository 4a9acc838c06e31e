#pragma once

#include <filesystem>
#include <vector>

namespace stowboard {

/// The folders of the XDG Base Directory standard, from the process's environment. Relative
/// values count as unset, as it demands. Nothing is created. Safe from any thread while nobody
/// changes the environment.
struct XdgFolders {
  XdgFolders() = delete;

  /// $HOME, or where that is no absolute path the password database's; absolute.
  static std::filesystem::path home();
  /// $XDG_DATA_HOME, or ~/.local/share.
  static std::filesystem::path dataHome();
  /// Where programs' shared data lies, most important first: dataHome(), $XDG_DATA_DIRS (or its
  /// default) and the exports of Flatpak and Snap, which not every session lists there.
  static std::vector<std::filesystem::path> data();
  /// $XDG_CONFIG_HOME, or ~/.config.
  static std::filesystem::path configHome();
  /// Where system-wide configuration lies, most important first: $XDG_CONFIG_DIRS, or /etc/xdg.
  static std::vector<std::filesystem::path> systemConfig();
};

}  // namespace stowboard
