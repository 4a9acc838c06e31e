#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <future>

#include "Base/Files/PrivateFiles.h"
#include "Base/SerialQueue.h"
#include "Platform/Bundle.h"
#include "Services/StorageStoring.h"

namespace stowboard {

/// Keeps the history and the settings as two JSON files, "history.json" and "settings.json", each
/// replaced whole and atomically, on a serial queue of its own. Errors are logged and absorbed.
///
/// Where one of the files is a symbolic link, the link stays and the file that it names is read,
/// replaced or removed. A file that could not be read is kept beside it under its name and
/// ".damaged" (one generation) by the first save after that; where it cannot be kept, it is not
/// replaced. So is a good history that is about to be cut short only because the settings could not
/// be read. Clearing the history removes all of it, what was set aside included.
class StorageManager : public StorageStoring {
 public:
  /// The folder of the running program: "Stowboard" among the user's application data.
  static std::filesystem::path defaultDirectory(const Bundle& bundle) {
    return bundle.applicationSupportFolder() / "Stowboard";
  }

  /// `directory` is the storage folder itself; it is created where it is missing, and made private
  /// to the user, as are the two files. Leftovers of writes that a crash cut short are removed.
  explicit StorageManager(const std::filesystem::path& directory);

  /// Begins to read the history, for the next loadHistory() to take over.
  void beginLoading();

  std::vector<ClipItem> loadHistory() override;
  AppSettings loadSettings() override;
  void saveHistory(std::vector<ClipItem> clips) override;
  void saveSettings(AppSettings settings) override;
  void clearHistory() override;
  void flushPendingWrites() override;

 private:
  /// One of the two files. The numbers let a save that a later one supersedes before its turn do
  /// nothing.
  struct File {
    std::filesystem::path path;
    /// Whether it holds something that the program has not taken over.
    std::atomic<bool> isUnread = false;
    std::atomic<std::uint64_t> lastSave = 0;
  };

  std::vector<ClipItem> readHistory();
  static void prepareFile(const std::filesystem::path& path);
  template <typename Value>
  void save(File& file, Value value);

  File history_;
  File settings_;
  std::size_t loadedClips_ = 0;
  std::future<std::vector<ClipItem>> loading_;
  SerialQueue queue_{"com.stowboard.storage"};
};

}  // namespace stowboard
