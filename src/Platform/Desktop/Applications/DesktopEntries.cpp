#include "Platform/Desktop/Applications/DesktopEntries.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <set>
#include <system_error>
#include <utility>

#include "Platform/Desktop/Applications/FolderTree.h"

namespace stowboard {

namespace {

namespace fs = std::filesystem;
using namespace std::string_view_literals;

constexpr std::string_view suffix = ".desktop";

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view blanks = " \t\r";
  const auto start = text.find_first_not_of(blanks);
  if (start == text.npos) return {};
  return text.substr(start, text.find_last_not_of(blanks) - start + 1);
}

std::string_view takeUntil(std::string_view& rest, char separator) {
  const auto end = std::min(rest.find(separator), rest.size());
  const auto part = rest.substr(0, end);
  rest.remove_prefix(std::min(end + 1, rest.size()));
  return part;
}

// The keys of the main group. Of a repeated key the first counts.
std::map<std::string_view, std::string_view> mainGroup(std::string_view content) {
  std::map<std::string_view, std::string_view> keys;
  bool isInside = false;
  while (!content.empty()) {
    std::string_view line = trimmed(takeUntil(content, '\n'));
    if (line.starts_with('#')) continue;
    if (line.starts_with('[')) {
      if (isInside) break;
      isInside = line == "[Desktop Entry]";
    } else if (isInside && line.find('=') != line.npos) {
      const auto key = trimmed(takeUntil(line, '='));
      keys.emplace(key, trimmed(line));
    }
  }
  return keys;
}

std::vector<std::string> listItems(std::string_view list) {
  std::vector<std::string> items;
  while (!list.empty()) {
    const auto item = trimmed(takeUntil(list, ';'));
    if (!item.empty()) items.emplace_back(item);
  }
  return items;
}

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

std::optional<DesktopEntry> DesktopEntry::parse(std::string id, std::string_view content) {
  const auto keys = mainGroup(content);
  const auto value = [&keys](std::string_view key) {
    const auto found = keys.find(key);
    return found == keys.end() ? std::string_view() : found->second;
  };
  if (value("Type") != "Application" || value("Hidden") == "true") return std::nullopt;
  DesktopEntry entry;
  entry.id = std::move(id);
  entry.startupWmClass = value("StartupWMClass");
  if (value("Terminal") != "true") entry.executable = executableOf(value("Exec"));
  entry.categories = listItems(value("Categories"));
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
