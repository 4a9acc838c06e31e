#pragma once

#include <atomic>
#include <filesystem>

#include "Base/Files/PrivateFiles.h"
#include "Base/SerialQueue.h"
#include "Platform/Bundle.h"
#include "Services/StorageStoring.h"

namespace stowboard {

/// Keeps the history and the settings as two JSON files, "history.json" and "settings.json", each
/// replaced whole and atomically, on a serial queue of its own. Errors are logged and absorbed.
///
/// Where one of the files is a symbolic link, the link stays and the file that it names is read,
/// replaced or removed. A history that could not be read is kept beside it as
/// "history.json.damaged" (one generation) by the first save or removal after that; where it cannot
/// be kept, it is neither replaced nor removed.
class StorageManager : public StorageStoring {
 public:
  /// The folder of the running program: "Stowboard" among the user's application data.
  static std::filesystem::path defaultDirectory(const Bundle& bundle) {
    return bundle.applicationSupportFolder() / "Stowboard";
  }

  /// `directory` is the storage folder itself; it is created where it is missing, and made private
  /// to the user, as are the two files. Leftovers of writes that a crash cut short are removed.
  explicit StorageManager(const std::filesystem::path& directory);

  std::vector<ClipItem> loadHistory() override;
  AppSettings loadSettings() override;
  void saveHistory(std::vector<ClipItem> clips) override;
  void saveSettings(AppSettings settings) override;
  void clearHistory() override;
  void flushPendingWrites() override;

 private:
  static void prepareFile(const std::filesystem::path& path);
  FileError setUnreadHistoryAside();

  const std::filesystem::path historyPath_;
  const std::filesystem::path settingsPath_;
  /// Whether the history file holds something that the user has not seen in the history.
  std::atomic<bool> historyIsUnread_ = false;
  SerialQueue queue_{"com.stowboard.storage"};
};

}  // namespace stowboard
