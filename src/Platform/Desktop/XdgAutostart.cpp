#include "Platform/Desktop/XdgAutostart.h"

#include <unistd.h>

#include <QSaveFile>
#include <algorithm>
#include <array>
#include <cerrno>
#include <sstream>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "Base/Files/PrivateFiles.h"
#include "Platform/Desktop/KeyFile.h"
#include "Platform/Desktop/XdgFolders.h"

namespace stowboard {

namespace {

namespace fs = std::filesystem;
using Failure = std::optional<std::string>;

struct FixedKey {
  const char* name;
  const char* value;
};

constexpr auto fixedKeys = std::to_array<FixedKey>({
    {"Type", "Application"},
    {"Name", "Stowboard"},
    {"Comment", "Keeps what you copy and puts it back where you work"},
    {"Comment[zh_CN]", "记录复制的内容，随时粘贴回正在使用的应用"},
    {"Terminal", "false"},
    {"StartupNotify", "false"},
});

// Keys by which the entry would not start here, or by a call that shows the history.
constexpr std::array keysInTheWay = {"Hidden", "OnlyShowIn", "NotShowIn", "TryExec",
                                     "DBusActivatable"};

constexpr const char* autostartEnabled = "X-GNOME-Autostart-enabled";

std::string lowerCase(std::string text) {
  for (char& each : text) each = each >= 'A' && each <= 'Z' ? static_cast<char>(each + 32) : each;
  return text;
}

// X-GNOME-Autostart-enabled is the one that most desktops use, X-MATE-Autostart-enabled another.
bool isDesktopsSwitch(const std::string& key) {
  return key.starts_with("X-") && lowerCase(key).ends_with("-autostart-enabled");
}

Failure systemWords(int number) { return std::generic_category().message(number); }

bool isExecutable(const fs::path& program) {
  std::error_code unknown;
  return fs::is_regular_file(program, unknown) && ::access(program.c_str(), X_OK) == 0;
}

// Whether a program that a file names by its path, or by its name alone, can be run.
bool isInstalled(const std::string& program, const std::string& searchPath) {
  if (program.find('/') != std::string::npos) return isExecutable(program);
  std::istringstream folders(searchPath);
  for (std::string folder; std::getline(folders, folder, ':');) {
    if (!program.empty() && isExecutable(fs::path(folder) / program)) return true;
  }
  return false;
}

// The program as the Exec key wants it: quoted, with the characters escaped that a shell would
// take for its own, and without field codes.
std::string quotedForExec(const std::string& program) {
  std::string quoted = "\"";
  for (const char letter : program) {
    if (std::string_view("\"`$\\").find(letter) != std::string_view::npos) quoted += '\\';
    quoted += letter;
    if (letter == '%') quoted += '%';
  }
  return quoted + '"';
}

// The first word of an Exec key, the reverse of the above.
std::string programOfExec(std::string_view exec) {
  const bool isQuoted = exec.starts_with('"');
  std::string program;
  for (std::size_t at = isQuoted ? 1 : 0; at < exec.size(); ++at) {
    if (exec[at] == (isQuoted ? '"' : ' ')) break;
    const bool isEscape = (isQuoted && exec[at] == '\\') || exec.substr(at, 2) == "%%";
    if (isEscape && at + 1 < exec.size()) ++at;
    program += exec[at];
  }
  return program;
}

bool namesOneOf(const std::vector<std::string>& desktops, const std::vector<std::string>& list) {
  return std::any_of(desktops.begin(), desktops.end(), [&list](const auto& desktop) {
    return std::find(list.begin(), list.end(), desktop) != list.end();
  });
}

bool isForThisDesktop(const KeyFile& entry, const Bundle& bundle) {
  std::istringstream names(bundle.environment("XDG_CURRENT_DESKTOP").value_or(""));
  std::vector<std::string> desktops;
  for (std::string name; std::getline(names, name, ':');) desktops.push_back(name);
  if (entry.rawValue("OnlyShowIn") && !namesOneOf(desktops, entry.list("OnlyShowIn"))) return false;
  return !namesOneOf(desktops, entry.list("NotShowIn"));
}

bool isSwitchedOff(const KeyFile& entry) {
  const auto keys = entry.keys();
  return entry.boolean("Hidden").value_or(false) ||
         std::any_of(keys.begin(), keys.end(), [&entry](const auto& key) {
           return isDesktopsSwitch(key) && !entry.boolean(key).value_or(true);
         });
}

bool programsExist(const KeyFile& entry, const Bundle& bundle) {
  const std::string searchPath =
      bundle.environment("PATH").value_or("/usr/local/bin:/usr/bin:/bin");
  const std::string tryExec = entry.string("TryExec");
  return isInstalled(programOfExec(entry.string("Exec")), searchPath) &&
         (tryExec.empty() || isInstalled(tryExec, searchPath));
}

/// A file's content, or why there is none.
struct Reading {
  std::string content;
  int error = 0;
};

Reading readFile(const fs::path& path) {
  FileReader file(path);
  Reading reading;
  for (auto chunk = file.next(); !chunk.empty(); chunk = file.next()) reading.content += chunk;
  reading.error = file.error();
  return reading;
}

Failure writeFile(const fs::path& path, const std::string& content) {
  if (const auto error = createPrivateFolder(path.parent_path()); !error.empty()) {
    return systemWords(error.number);
  }
  // Unlike a private file, the entry keeps the mode that it has and may be a link.
  QSaveFile file(QString::fromStdString(path.native()));
  const bool isWritten = file.open(QIODevice::WriteOnly) &&
                         file.write(content.data(), static_cast<qint64>(content.size())) >= 0 &&
                         file.commit();
  return isWritten ? std::nullopt : Failure(file.errorString().toStdString());
}

// The user's entry to be changed, empty where there is none yet.
std::pair<KeyFile, Failure> entryForChange(const fs::path& file) {
  const Reading reading = readFile(file);
  if (reading.error != 0 && reading.error != ENOENT) return {KeyFile(), systemWords(reading.error)};
  return {KeyFile(reading.content), std::nullopt};
}

// Where an update has replaced the program while it runs, the system marks its path.
fs::path currentPath(const fs::path& executable) {
  constexpr std::string_view mark = " (deleted)";
  const std::string& path = executable.native();
  if (!path.ends_with(mark) || isExecutable(executable)) return executable;
  return path.substr(0, path.size() - mark.size());
}

}  // namespace

fs::path XdgAutostart::userFile() const {
  return XdgFolders::configHome() / "autostart" / fileName();
}

std::optional<fs::path> XdgAutostart::systemFile() const {
  for (const auto& folder : XdgFolders::systemConfig()) {
    const fs::path file = folder / "autostart" / fileName();
    std::error_code unknown;
    if (fs::exists(file, unknown)) return file;
  }
  return std::nullopt;
}

LoginItems::Status XdgAutostart::status() const {
  Reading reading = readFile(userFile());
  if (reading.error == ENOENT) {
    const auto file = systemFile();
    if (!file) return Status::notRegistered;
    reading = readFile(*file);
  }
  if (reading.error != 0) return Status::notRegistered;
  const KeyFile entry(reading.content);
  if (isSwitchedOff(entry) || !isForThisDesktop(entry, bundle_)) return Status::notRegistered;
  return programsExist(entry, bundle_) ? Status::enabled : Status::notFound;
}

std::optional<std::string> XdgAutostart::registerApplication() {
  const fs::path program = currentPath(bundle_.executable());
  if (program.empty()) return systemWords(ENOENT);
  auto [entry, failure] = entryForChange(userFile());
  if (failure) return failure;
  for (const auto* key : keysInTheWay) entry.remove(key);
  for (const auto& key : entry.keys()) {
    if (isDesktopsSwitch(key)) entry.remove(key);
  }
  for (const auto& key : fixedKeys) entry.setRawValue(key.name, key.value);
  entry.setRawValue("Icon", bundle_.identifier());
  entry.setString("Exec", quotedForExec(program));
  entry.setRawValue(autostartEnabled, "true");
  return writeFile(userFile(), entry.content());
}

std::optional<std::string> XdgAutostart::unregisterApplication() {
  const fs::path file = userFile();
  if (!systemFile()) {
    const FileError error = removeFile(file);
    return error.empty() ? std::nullopt : systemWords(error.number);
  }
  auto [entry, failure] = entryForChange(file);
  if (failure) return failure;
  if (!entry.rawValue("Type")) entry.setRawValue("Type", "Application");
  if (!entry.rawValue("Name")) entry.setRawValue("Name", "Stowboard");
  entry.setRawValue("Hidden", "true");
  return writeFile(file, entry.content());
}

}  // namespace stowboard
