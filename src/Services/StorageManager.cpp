#include "Services/StorageManager.h"

#include <malloc.h>

#include <memory>
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

fs::path asideOf(const fs::path& path) {
  fs::path aside = path;
  aside += ".damaged";
  return aside;
}

// `beforeReplacing` runs when the new content is safe on the disk and the old one still in place,
// which it stays if that fails.
template <typename Value, typename Action>
FileError encode(const Value& value, const fs::path& path, Action beforeReplacing) {
  AtomicFile file(path);
  if (!file.error().empty()) return file.error();
  encodeJson(value, [&](std::string_view chunk) { return file.write(chunk); });
  if (!file.sync()) return file.error();
  if (FileError error = beforeReplacing(); !error.empty()) return error;
  file.replaceTarget();
  return file.error();
}

void log(std::string_view action, const fs::path& path, const FileError& error) {
  if (error.empty()) return;
  const std::string name = path.filename();
  if (error.isDurabilityOnly) {
    Log::storage.error("What was done to {} is not surely on the disk: {}", name,
                       error.description);
  } else {
    Log::storage.error("Failed to {} {}: {}", action, name, error.description);
  }
}

}  // namespace

StorageManager::StorageManager(const fs::path& directory)
    : history_{directory / "history.json"}, settings_{directory / "settings.json"} {
  if (const FileError error = createPrivateFolder(directory);
      !error.empty() && !error.isDurabilityOnly) {
    Log::storage.error("Failed to create storage directory: {}", error.description);
    return;
  }
  log("make private", directory, makePrivate(directory));
  prepareFile(history_.path);
  prepareFile(settings_.path);
}

void StorageManager::prepareFile(const fs::path& path) {
  AtomicFile::removeLeftovers(resolveLinks(path));
  log("make private", path, makePrivate(path));
}

void StorageManager::beginLoading() {
  const auto result = std::make_shared<std::promise<std::vector<ClipItem>>>();
  loading_ = result->get_future();
  if (!queue_.async([this, result] { result->set_value(readHistory()); })) loading_ = {};
}

std::vector<ClipItem> StorageManager::loadHistory() {
  if (!loading_.valid()) return readHistory();
  try {
    return loading_.get();
  } catch (const std::future_error&) {
    // Reading it failed, as the log tells. What is there is kept aside.
    history_.isUnread = true;
    return {};
  }
}

std::vector<ClipItem> StorageManager::readHistory() {
  bool isUnread = false;
  auto clips = decode<std::vector<ClipItem>>(decodeHistory, history_.path, {}, isUnread);
  history_.isUnread = isUnread;
  loadedClips_ = clips.size();
  return clips;
}

AppSettings StorageManager::loadSettings() {
  bool isUnread = false;
  auto settings =
      decode<AppSettings>(decodeSettings, settings_.path, AppSettings::defaults, isUnread);
  settings_.isUnread = isUnread;
  // The defaults stand in, and keep fewer clips than the user may have asked for.
  if (isUnread && std::cmp_greater(loadedClips_, settings.maxRecords)) history_.isUnread = true;
  return settings;
}

template <typename Value>
void StorageManager::save(File& file, Value value) {
  queue_.async([&file, number = ++file.lastSave, value = std::move(value)] {
    if (number != file.lastSave) return;
    const fs::path target = resolveLinks(file.path);
    const auto setAside = [&]() -> FileError {
      if (!file.isUnread) return {};
      FileError error = keepAside(target, asideOf(target));
      if (error.empty()) file.isUnread = false;
      return error;
    };
    log("save", file.path, encode(value, target, setAside));
    // What the copy and its save have freed lies scattered, and the allocator would keep it.
    ::malloc_trim(0);
  });
}

void StorageManager::saveHistory(std::vector<ClipItem> clips) { save(history_, std::move(clips)); }

void StorageManager::saveSettings(AppSettings settings) { save(settings_, std::move(settings)); }

void StorageManager::clearHistory() {
  queue_.async([this] {
    const fs::path history = resolveLinks(history_.path);
    for (const fs::path& path : {history, asideOf(history)}) {
      log("remove", path, removeFile(path));
    }
    history_.isUnread = false;
  });
}

void StorageManager::flushPendingWrites() {
  queue_.sync([] {});
}

}  // namespace stowboard
