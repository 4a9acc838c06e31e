#include "Platform/Desktop/Applications/ApplicationIds.h"

#include <array>
#include <fstream>
#include <string_view>
#include <system_error>

namespace stowboard {

namespace {

namespace fs = std::filesystem;

bool removeSuffix(std::string& text, std::string_view suffix) {
  if (!text.ends_with(suffix)) return false;
  text.resize(text.size() - suffix.size());
  return true;
}

std::string programOf(const fs::path& process) {
  std::error_code unreadable;
  std::string program = fs::read_symlink(process / "exe", unreadable).filename().string();
  // A program that was updated while it runs.
  removeSuffix(program, " (deleted)");
  return program;
}

// Flatpak puts this file into every sandbox: [Application], name=ID.
std::optional<std::string> flatpakOf(const fs::path& process) {
  std::ifstream info(process / "root/.flatpak-info");
  bool isInside = false;
  for (std::string line; std::getline(info, line);) {
    if (line.starts_with('[')) isInside = line == "[Application]";
    if (isInside && line.starts_with("name=")) return line.substr(5);
  }
  return std::nullopt;
}

// The last part of the path of the process's control group: of the unified hierarchy, but where
// that is not in use yet, the one that names a Snap.
std::string unitOf(const fs::path& process) {
  std::ifstream groups(process / "cgroup");
  std::string unit;
  for (std::string line; std::getline(groups, line);) {
    std::string last = line.substr(line.rfind('/') + 1);
    const bool namesSnap = last.starts_with("snap.");
    if (namesSnap || line.starts_with("0::")) unit = std::move(last);
    if (namesSnap) break;
  }
  removeSuffix(unit, ".scope") || removeSuffix(unit, ".service");
  return unit;
}

// app-flatpak-ID-NUMBER (systemd's desktop environment conventions).
std::optional<std::string> flatpakOfUnit(const std::string& unit) {
  constexpr std::string_view prefix = "app-flatpak-";
  if (!unit.starts_with(prefix) || unit.rfind('-') < prefix.size()) return std::nullopt;
  std::string id = unit.substr(prefix.size(), unit.rfind('-') - prefix.size());
  // Names of units write a dash as \x2d.
  for (auto at = id.find("\\x2d"); at != id.npos; at = id.find("\\x2d")) {
    id[at] = '-';
    id.erase(at + 1, 3);
  }
  return id;
}

// snap.NAME.APP, then a dash or a dot and a UUID.
void readSnapUnit(std::string unit, ProcessTraits& traits) {
  constexpr std::size_t uuidLength = 36;
  if (!unit.starts_with("snap.")) return;
  const auto separator = unit.size() > uuidLength ? unit[unit.size() - uuidLength - 1] : '\0';
  if (separator == '-' || separator == '.') unit.resize(unit.size() - uuidLength - 1);
  const auto nameEnd = unit.find('.', 5);
  if (nameEnd == unit.npos) return;
  traits.snap = unit.substr(5, nameEnd - 5);
  traits.snapApplication = unit.substr(nameEnd + 1);
}

const DesktopEntry* findNamed(std::string name, const DesktopEntries& entries) {
  name = name.substr(name.rfind('/') + 1);
  removeSuffix(name, ".desktop");
  return entries.find(name);
}

const DesktopEntry* findByWindowsWord(const WindowTraits& window, const ProcessTraits&,
                                      const DesktopEntries& entries) {
  if (const auto* entry = findNamed(window.desktopFile, entries)) return entry;
  return findNamed(window.gtkApplicationId, entries);
}

const DesktopEntry* findBySandbox(const WindowTraits&, const ProcessTraits& process,
                                  const DesktopEntries& entries) {
  if (process.flatpak) return entries.find(*process.flatpak);
  if (!process.snap) return nullptr;
  return entries.find(*process.snap + "_" + *process.snapApplication);
}

const DesktopEntry* findByStartupClass(const WindowTraits& window, const ProcessTraits&,
                                       const DesktopEntries& entries) {
  if (const auto* entry = entries.findByWmClass(window.wmClass)) return entry;
  return entries.findByWmClass(window.wmClassInstance);
}

const DesktopEntry* findByName(const WindowTraits& window, const ProcessTraits&,
                               const DesktopEntries& entries) {
  const std::string& name = window.wmClass;
  const std::string& instance = window.wmClassInstance;
  if (const auto* entry = entries.find(name)) return entry;
  if (const auto* entry = entries.find(instance)) return entry;
  if (const auto* entry = entries.findByName(name)) return entry;
  return entries.findByName(instance);
}

const DesktopEntry* findByProgram(const WindowTraits& window, const ProcessTraits& process,
                                  const DesktopEntries& entries) {
  if (const auto* entry = entries.findByExecutable(process.executable)) return entry;
  return entries.findByExecutable(window.wmClassInstance);
}

}  // namespace

ProcessTraits ProcessTraits::read(std::int64_t processIdentifier, const fs::path& procFolder) {
  const fs::path process = procFolder / std::to_string(processIdentifier);
  const std::string unit = unitOf(process);
  ProcessTraits traits;
  traits.executable = programOf(process);
  traits.flatpak = flatpakOf(process);
  if (!traits.flatpak) traits.flatpak = flatpakOfUnit(unit);
  readSnapUnit(unit, traits);
  return traits;
}

std::optional<std::string> applicationId(const WindowTraits& window, const ProcessTraits& process,
                                         const DesktopEntries& entries) {
  static constexpr std::array rules = {findByWindowsWord, findBySandbox, findByStartupClass,
                                       findByName, findByProgram};
  for (const auto& rule : rules) {
    if (const auto* entry = rule(window, process, entries)) return entry->id;
  }
  return window.wmClass.empty() ? std::nullopt : std::optional(window.wmClass);
}

}  // namespace stowboard
