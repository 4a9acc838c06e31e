#include "Platform/Desktop/Applications/DesktopEntries.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <set>
#include <system_error>
#include <utility>

#include "Platform/Desktop/Applications/FolderTree.h"
#include "Platform/Desktop/KeyFile.h"

namespace stowboard {

namespace {

namespace fs = std::filesystem;
using namespace std::string_view_literals;

constexpr std::string_view suffix = ".desktop";

// Splits off the first word of an Exec line, which may be quoted.
std::string takeWord(std::string_view& rest) {
  rest = trimmed(rest);
  if (!rest.starts_with('"')) return std::string(takeUntil(rest, ' '));
  rest.remove_prefix(1);
  return std::string(takeUntil(rest, '"'));
}

std::string fileName(std::string_view path) {
  return std::string(path.substr(path.rfind('/') + 1));
}

// Programs that start, or run, whatever application they are told to.
bool runsOthers(std::string_view program) {
  static constexpr std::array programs = {
      "sh"sv,         "bash"sv,    "dash"sv,      "zsh"sv,  "perl"sv,     "ruby"sv,
      "java"sv,       "mono"sv,    "node"sv,      "gjs"sv,  "electron"sv, "wine"sv,
      "wine64"sv,     "pkexec"sv,  "sudo"sv,      "snap"sv, "exo-open"sv, "xdg-open"sv,
      "gtk-launch"sv, "flatpak"sv, "dbus-send"sv, "steam"sv};
  return program.starts_with("python") ||
         std::find(programs.begin(), programs.end(), program) != programs.end();
}

std::string executableOf(std::string_view exec) {
  std::string word = takeWord(exec);
  if (fileName(word) == "env") {
    do word = takeWord(exec);
    while (word.find('=') != word.npos);
  }
  std::string program = fileName(word);
  return runsOthers(program) ? std::string() : program;
}

// Lower case without punctuation.
std::string looseName(std::string_view name) {
  std::string loose;
  for (const char letter : name) {
    if ("-_. "sv.find(letter) != std::string_view::npos) continue;
    loose += letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
  }
  return loose;
}

// What is left of an id without its first `count` dotted parts, at least one part.
std::string_view withoutParts(std::string_view id, int count) {
  for (; count > 0 && id.find('.') != id.npos; --count) takeUntil(id, '.');
  return id;
}

std::string idOf(const fs::path& file, const fs::path& folder) {
  std::string id = file.lexically_relative(folder).generic_string();
  id.resize(id.size() - suffix.size());
  std::replace(id.begin(), id.end(), '/', '-');
  return id;
}

std::string contentOf(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

// Sorted, so that nothing hangs on the order in which a disk lists its files.
std::vector<fs::path> desktopFilesBelow(const fs::path& folder) {
  std::vector<fs::path> files;
  visitBelow(folder, [&files](const fs::directory_entry& entry) {
    std::error_code unreadable;
    if (entry.path().extension() == suffix && entry.is_regular_file(unreadable)) {
      files.push_back(entry.path());
    }
  });
  std::sort(files.begin(), files.end());
  return files;
}

}  // namespace

bool DesktopEntry::hasCategory(std::string_view category) const {
  return std::find(categories.begin(), categories.end(), category) != categories.end();
}

std::optional<DesktopEntry> DesktopEntry::parse(std::string id, std::string content) {
  const KeyFile file(std::move(content));
  const auto value = [&file](std::string_view key) { return file.rawValue(key).value_or(""); };
  if (value("Type") != "Application" || value("Hidden") == "true") return std::nullopt;
  DesktopEntry entry;
  entry.id = std::move(id);
  entry.startupWmClass = value("StartupWMClass");
  if (value("Terminal") != "true") entry.executable = executableOf(value("Exec"));
  entry.categories = file.list("Categories");
  entry.isShown = value("NoDisplay") != "true";
  return entry;
}

std::vector<DesktopEntry> DesktopEntries::read(const std::vector<fs::path>& dataFolders) {
  std::vector<DesktopEntry> entries;
  std::set<std::string> ids;
  for (const auto& dataFolder : dataFolders) {
    const fs::path folder = dataFolder / "applications";
    for (const auto& file : desktopFilesBelow(folder)) {
      std::string id = idOf(file, folder);
      if (!ids.insert(id).second) continue;
      if (auto entry = DesktopEntry::parse(std::move(id), contentOf(file))) {
        entries.push_back(*std::move(entry));
      }
    }
  }
  return entries;
}

DesktopEntries::DesktopEntries(std::vector<DesktopEntry> entries) : entries_(std::move(entries)) {
  for (const auto& entry : entries_) index(entry);
}

void DesktopEntries::index(const DesktopEntry& entry) {
  ids_[entry.id].push_back(&entry);
  if (!entry.startupWmClass.empty()) wmClasses_[entry.startupWmClass].push_back(&entry);
  if (!entry.executable.empty() && entry.isShown) executables_[entry.executable].push_back(&entry);
  fullNames_[looseName(entry.id)].push_back(&entry);
  // For org.gnome.TextEditor: "gnometexteditor" and "texteditor".
  for (int dropped = 1; withoutParts(entry.id, dropped - 1) != withoutParts(entry.id, dropped);
       ++dropped) {
    shortNames_[looseName(withoutParts(entry.id, dropped))].push_back(&entry);
  }
}

const DesktopEntry* DesktopEntries::only(const Index& index, std::string_view name) {
  const auto found = index.find(name);
  if (name.empty() || found == index.end()) return nullptr;
  const auto& entries = found->second;
  if (entries.size() == 1) return entries.front();
  const auto isShown = [](const DesktopEntry* entry) { return entry->isShown; };
  if (std::count_if(entries.begin(), entries.end(), isShown) != 1) return nullptr;
  return *std::find_if(entries.begin(), entries.end(), isShown);
}

const DesktopEntry* DesktopEntries::find(std::string_view id) const { return only(ids_, id); }

const DesktopEntry* DesktopEntries::findByWmClass(std::string_view wmClass) const {
  const auto found = wmClasses_.find(wmClass);
  if (found == wmClasses_.end()) return nullptr;
  const auto& entries = found->second;
  const auto named = std::find_if(entries.begin(), entries.end(), [&](const auto* entry) {
    return looseName(entry->id) == looseName(wmClass);
  });
  return named == entries.end() ? entries.front() : *named;
}

const DesktopEntry* DesktopEntries::findByName(std::string_view name) const {
  const std::string loose = looseName(name);
  if (const auto* entry = only(fullNames_, loose)) return entry;
  return only(shortNames_, loose);
}

const DesktopEntry* DesktopEntries::findByExecutable(std::string_view executable) const {
  return only(executables_, executable);
}

}  // namespace stowboard
