#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace stowboard {

/// An installed application, as its .desktop file describes it (Desktop Entry standard).
struct DesktopEntry {
  /// The file's path below its applications folder, with dashes for slashes and without ".desktop".
  std::string id;
  /// The WM_CLASS that its windows carry; mostly empty.
  std::string startupWmClass;
  /// The name of the program that Exec runs. Empty where that says nothing of the application: an
  /// interpreter, a launcher, or a program that runs inside a terminal.
  std::string executable;
  /// Such as TerminalEmulator.
  std::vector<std::string> categories;
  /// False for entries that menus leave out (NoDisplay).
  bool isShown = true;

  bool hasCategory(std::string_view category) const;

  /// Reads a .desktop file's content; absent when it is no application or is marked as deleted
  /// (Hidden).
  static std::optional<DesktopEntry> parse(std::string id, std::string content);
};

/// The installed applications, to be looked up by what their windows and processes tell.
/// Immutable; safe to read from any thread. Results live as long as the entries.
class DesktopEntries {
 public:
  DesktopEntries() = default;
  /// In order of precedence. Each id should occur once.
  explicit DesktopEntries(std::vector<DesktopEntry> entries);
  DesktopEntries(const DesktopEntries&) = delete;
  DesktopEntries& operator=(const DesktopEntries&) = delete;

  /// Reads the "applications" folder of each of the data folders, most important first: of files
  /// with one id, the first counts, also when it only says that the application is deleted.
  /// Folders and files that cannot be read are left out. Reads the disk.
  static std::vector<DesktopEntry> read(const std::vector<std::filesystem::path>& dataFolders);

  /// The entry of exactly this id.
  const DesktopEntry* find(std::string_view id) const;
  /// The entry whose StartupWMClass is exactly this: of several the one of that name, else the
  /// most important.
  const DesktopEntry* findByWmClass(std::string_view wmClass) const;
  /// The entry whose id, or the end of whose reverse-DNS id, is this name but for letter case and
  /// punctuation: org.gnome.TextEditor for "gnome-text-editor". Null when several are.
  const DesktopEntry* findByName(std::string_view name) const;
  /// The shown entry that runs the program of this file name. Null when several do.
  const DesktopEntry* findByExecutable(std::string_view executable) const;

 private:
  using Index = std::map<std::string, std::vector<const DesktopEntry*>, std::less<>>;

  void index(const DesktopEntry& entry);
  static const DesktopEntry* only(const Index& index, std::string_view name);

  std::vector<DesktopEntry> entries_;
  Index ids_;
  Index wmClasses_;
  Index fullNames_;
  Index shortNames_;
  Index executables_;
};

}  // namespace stowboard
