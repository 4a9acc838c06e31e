#include "Platform/Desktop/Applications/ApplicationIds.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <future>
#include <sstream>
#include <string_view>
#include <system_error>
#include <utility>

#include "Base/SignalFreeThread.h"
#include "Base/Survive.h"

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

// The start of a regular file, and nothing of anything else: what stands in a process's root is its
// own choice. It is looked at before it is opened, since opening a device may have an effect.
std::string startOf(const fs::path& file) {
  constexpr std::size_t most = 65536;
  std::string content;
  const int place = ::open(file.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC);
  struct stat status{};
  if (place >= 0 && ::fstat(place, &status) == 0 && S_ISREG(status.st_mode)) {
    const auto name = "/proc/self/fd/" + std::to_string(place);
    const int descriptor = ::open(name.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    content.resize(most);
    std::size_t size = 0;
    for (ssize_t count = 1; descriptor >= 0 && count > 0 && size < most;) {
      count = ::read(descriptor, content.data() + size, most - size);
      size += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    content.resize(size);
    if (descriptor >= 0) ::close(descriptor);
  }
  if (place >= 0) ::close(place);
  return content;
}

// Flatpak puts this file into every sandbox: [Application], name=ID.
std::optional<std::string> flatpakOf(const fs::path& process) {
  std::istringstream info(startOf(process / "root/.flatpak-info"));
  bool isInside = false;
  for (std::string line; std::getline(info, line);) {
    if (line.starts_with('[')) isInside = line == "[Application]";
    if (isInside && line.starts_with("name=")) return line.substr(5);
  }
  return std::nullopt;
}

bool seesOurFiles(const fs::path& process) {
  std::error_code unreadable;
  const auto ours = fs::read_symlink("/proc/self/ns/mnt", unreadable);
  return !ours.empty() && fs::read_symlink(process / "ns/mnt", unreadable) == ours;
}

// A program can serve the files of its sandbox itself, and need not answer. So they are read on a
// thread that is left behind when it is late; a few such, and nothing more is asked.
std::optional<std::string> flatpakInTime(const fs::path& process) {
  constexpr auto bound = std::chrono::milliseconds(50);
  constexpr int mostUnanswered = 4;
  static std::atomic<int> unanswered = 0;
  if (seesOurFiles(process) || unanswered >= mostUnanswered) return std::nullopt;
  std::packaged_task<std::optional<std::string>()> task([process] { return flatpakOf(process); });
  auto answer = task.get_future();
  const bool isAsked = survives(Log::app, "the sandbox", [&task] {
    startSignalFreeThread("sandbox", [task = std::move(task)]() mutable {
      task();
      unanswered -= 1;
    }).detach();
    unanswered += 1;
  });
  if (!isAsked) return std::nullopt;
  const bool isInTime = answer.wait_for(bound) == std::future_status::ready;
  return isInTime ? answer.get() : std::nullopt;
}

// The last part of the path of the process's control group: of the unified hierarchy, but where
// that is not in use yet, the one that names a Snap.
std::string unitOf(const fs::path& process) {
  std::istringstream groups(startOf(process / "cgroup"));
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
  traits.flatpak = flatpakInTime(process);
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
