#include "Services/StorageManager.h"

#include <span>
#include <string_view>
#include <utility>

#include "Base/Files/AtomicFile.h"
#include "Base/Log.h"
#include "Models/Json/JsonForm.h"

namespace stowboard {

namespace fs = std::filesystem;

namespace {

template <typename Value>
using Decoder = DecodingResult<Value> (*)(const JsonSource& source);

// `isUnread` tells whether there is a file whose content is not in the result.
template <typename Value>
Value decode(Decoder<Value> decoder, const fs::path& path, Value fallback, bool& isUnread) {
  FileReader reader(path);
  DecodingResult<Value> result = decoder([&] { return reader.next(); });
  isUnread = reader.hasFailed() && !reader.isMissing();
  if (reader.hasFailed()) return fallback;
  if (const auto* error = std::get_if<DecodingError>(&result)) {
    Log::storage.error("Failed to decode {}: {}", path.filename().native(), error->description);
    isUnread = true;
    return fallback;
  }
  return std::get<Value>(std::move(result));
}

// `beforeReplacing` runs when the new content is safe on the disk and the old one still in place,
// which it stays if that fails.
template <typename Value, typename Action>
FileError encode(const Value& value, const fs::path& path, Action beforeReplacing) {
  AtomicFile file(resolveLinks(path));
  if (!file.error().empty()) return file.error();
  encodeJson(value, [&](std::string_view chunk) { return file.write(chunk); });
  if (!file.sync()) return file.error();
  if (FileError error = beforeReplacing(); !error.empty()) return error;
  file.replaceTarget();
  return file.error();
}

void log(std::string_view action, const fs::path& path, const FileError& error) {
  if (error.empty()) return;
  Log::storage.error("Failed to {} {}: {}", action, path.filename().native(), error.description);
}

}  // namespace

StorageManager::StorageManager(const fs::path& directory)
    : historyPath_(directory / "history.json"), settingsPath_(directory / "settings.json") {
  if (const FileError error = createPrivateFolder(directory); !error.empty()) {
    Log::storage.error("Failed to create storage directory: {}", error.description);
    return;
  }
  log("make private", directory, makePrivate(directory));
  prepareFile(historyPath_);
  prepareFile(settingsPath_);
}

void StorageManager::prepareFile(const fs::path& path) {
  AtomicFile::removeLeftovers(resolveLinks(path));
  log("make private", path, makePrivate(path));
}

std::vector<ClipItem> StorageManager::loadHistory() {
  bool isUnread = false;
  auto clips = decode<std::vector<ClipItem>>(decodeHistory, historyPath_, {}, isUnread);
  historyIsUnread_ = isUnread;
  return clips;
}

AppSettings StorageManager::loadSettings() {
  bool isUnread = false;
  return decode<AppSettings>(decodeSettings, settingsPath_, AppSettings::defaults, isUnread);
}

FileError StorageManager::setUnreadHistoryAside() {
  if (!historyIsUnread_) return {};
  const fs::path history = resolveLinks(historyPath_);
  fs::path aside = history;
  aside += ".damaged";
  FileError error = keepAside(history, aside);
  if (error.empty()) historyIsUnread_ = false;
  return error;
}

void StorageManager::saveHistory(std::vector<ClipItem> clips) {
  queue_.async([this, clips = std::move(clips)] {
    const auto setAside = [this] { return setUnreadHistoryAside(); };
    log("save", historyPath_, encode(std::span(clips), historyPath_, setAside));
  });
}

void StorageManager::saveSettings(AppSettings settings) {
  queue_.async([this, settings = std::move(settings)] {
    log("save", settingsPath_, encode(settings, settingsPath_, [] { return FileError{}; }));
  });
}

void StorageManager::clearHistory() {
  queue_.async([this] {
    FileError error = setUnreadHistoryAside();
    if (error.empty()) error = removeFile(resolveLinks(historyPath_));
    log("remove", historyPath_, error);
  });
}

void StorageManager::flushPendingWrites() {
  queue_.sync([] {});
}

}  // namespace stowboard
