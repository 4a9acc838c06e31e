#include "Services/StorageManager.h"

#include <span>
#include <string_view>
#include <utility>

#include "Base/Log.h"
#include "Models/Json/JsonForm.h"
#include "Utils/AtomicFile.h"
#include "Utils/PrivateFiles.h"

namespace stowboard {

namespace fs = std::filesystem;

namespace {

template <typename Value>
using Decoder = DecodingResult<Value> (*)(const JsonSource& source);

// `isUnread` tells whether there is a file whose content is not in the result.
template <typename Value>
Value decode(Decoder<Value> decoder, const fs::path& url, Value fallback, bool& isUnread) {
  FileReader reader(url);
  DecodingResult<Value> result = decoder([&] { return reader.next(); });
  isUnread = reader.hasFailed() && !reader.isMissing();
  if (reader.hasFailed()) return fallback;
  if (const auto* error = std::get_if<DecodingError>(&result)) {
    Log::storage.error("Failed to decode {}: {}", url.filename().native(), error->description);
    isUnread = true;
    return fallback;
  }
  return std::get<Value>(std::move(result));
}

// `beforeReplacing` runs when the new content is safe on the disk and the old one still in place,
// which it stays if that fails.
template <typename Value, typename Action>
FileError encode(const Value& value, const fs::path& url, Action beforeReplacing) {
  AtomicFile file(resolveLinks(url));
  if (!file.error().empty()) return file.error();
  encodeJson(value, [&](std::string_view chunk) { return file.write(chunk); });
  if (!file.sync()) return file.error();
  if (FileError error = beforeReplacing(); !error.empty()) return error;
  file.replaceTarget();
  return file.error();
}

void log(std::string_view action, const fs::path& url, const FileError& error) {
  if (error.empty()) return;
  Log::storage.error("Failed to {} {}: {}", action, url.filename().native(), error.description);
}

}  // namespace

StorageManager::StorageManager(const fs::path& directory)
    : historyUrl_(directory / "history.json"), settingsUrl_(directory / "settings.json") {
  if (const FileError error = createPrivateFolder(directory); !error.empty()) {
    Log::storage.error("Failed to create storage directory: {}", error.description);
    return;
  }
  log("make private", directory, makePrivate(directory));
  prepareFile(historyUrl_);
  prepareFile(settingsUrl_);
}

void StorageManager::prepareFile(const fs::path& url) {
  AtomicFile::removeLeftovers(resolveLinks(url));
  log("make private", url, makePrivate(url));
}

std::vector<ClipItem> StorageManager::loadHistory() {
  bool isUnread = false;
  auto clips = decode<std::vector<ClipItem>>(decodeHistory, historyUrl_, {}, isUnread);
  historyIsUnread_ = isUnread;
  return clips;
}

AppSettings StorageManager::loadSettings() {
  bool isUnread = false;
  return decode<AppSettings>(decodeSettings, settingsUrl_, AppSettings::defaults, isUnread);
}

FileError StorageManager::setUnreadHistoryAside() {
  if (!historyIsUnread_) return {};
  const fs::path history = resolveLinks(historyUrl_);
  fs::path aside = history;
  aside += ".damaged";
  FileError error = keepAside(history, aside);
  if (error.empty()) historyIsUnread_ = false;
  return error;
}

void StorageManager::saveHistory(std::vector<ClipItem> clips) {
  queue_.async([this, clips = std::move(clips)] {
    const auto setAside = [this] { return setUnreadHistoryAside(); };
    log("save", historyUrl_, encode(std::span(clips), historyUrl_, setAside));
  });
}

void StorageManager::saveSettings(AppSettings settings) {
  queue_.async([this, settings = std::move(settings)] {
    log("save", settingsUrl_, encode(settings, settingsUrl_, [] { return FileError{}; }));
  });
}

void StorageManager::clearHistory() {
  queue_.async([this] {
    FileError error = setUnreadHistoryAside();
    if (error.empty()) error = removeFile(resolveLinks(historyUrl_));
    log("remove", historyUrl_, error);
  });
}

void StorageManager::flushPendingWrites() {
  queue_.sync([] {});
}

}  // namespace stowboard
