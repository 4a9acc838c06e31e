#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "Platform/ApplicationIdentifying.h"
#include "Platform/Desktop/Applications/DesktopEntries.h"

namespace stowboard {

/// What a process tells of the application that it belongs to.
struct ProcessTraits {
  /// The file name of its program; empty when unknown.
  std::string executable;
  /// The id of the Flatpak that it runs in.
  std::optional<std::string> flatpak;
  /// The names of the Snap and of the application in it, "firefox" and "firefox".
  std::optional<std::string> snap;
  std::optional<std::string> snapApplication;

  friend bool operator==(const ProcessTraits&, const ProcessTraits&) = default;

  /// Reads /proc, or the folder given in its place; what is missing or may not be read is left
  /// out. These files are the kernel's, but for one inside a sandbox, which is waited for 50 ms at
  /// most.
  static ProcessTraits read(std::int64_t processIdentifier,
                            const std::filesystem::path& procFolder = "/proc");
};

/// The id of the application that the window belongs to: that of the desktop entry that matches it,
/// by the first of these rules that finds one:
///
/// 1. the desktop file or application id that the window names;
/// 2. the Flatpak or the Snap that its process runs in;
/// 3. StartupWMClass equal to the WM_CLASS, class before instance;
/// 4. the entry's id equal to the WM_CLASS; then equal but for letter case and punctuation, also to
///    the end of a reverse-DNS id;
/// 5. the program that the entry runs equal to the process's, then to the instance, where only one
///    entry runs it.
///
/// Without a match it is the WM_CLASS class; absent when the window has none either. `process` is
/// what ProcessTraits::read gave for the window's.
std::optional<std::string> applicationId(const WindowTraits& window, const ProcessTraits& process,
                                         const DesktopEntries& entries);

}  // namespace stowboard
