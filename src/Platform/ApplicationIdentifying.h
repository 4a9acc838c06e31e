#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace stowboard {

/// What a window tells of the application that it belongs to; empty where it does not.
struct WindowTraits {
  /// _KDE_NET_WM_DESKTOP_FILE: an application id, or a desktop file's path.
  std::string desktopFile;
  /// _GTK_APPLICATION_ID
  std::string gtkApplicationId;
  /// The two strings of WM_CLASS (ICCCM 4.1.2.5).
  std::string wmClassInstance;
  std::string wmClass;
  /// The process that owns the window; 0 when that is unknown or runs on another machine.
  std::int64_t processIdentifier = 0;
};

/// Knows the applications of the desktop, for the adapters that see its windows. Safe to use from
/// any thread.
class ApplicationIdentifying {
 public:
  virtual ~ApplicationIdentifying() = default;

  /// The id of the application that the window belongs to, absent when nothing tells. Waits for no
  /// other program, and for no disk but in the first moments of the process.
  virtual std::optional<std::string> applicationId(const WindowTraits& window) const = 0;

  /// Whether the application of this id is a terminal emulator. Waits as applicationId() does.
  virtual bool isTerminal(const std::string& applicationId) const = 0;
};

}  // namespace stowboard
