#pragma once

#include <filesystem>

#include "Base/SerialQueue.h"
#include "Services/StorageStoring.h"

namespace stowboard {

/// Keeps the history and the settings as two JSON files, each replaced whole and atomically, on a
/// serial queue of its own. Errors are logged and absorbed.
class StorageManager : public StorageStoring {
 public:
  /// `directory` is the storage folder itself; it is created where it is missing, and made private
  /// to the user.
  explicit StorageManager(const std::filesystem::path& directory);

  std::vector<ClipItem> loadHistory() override;
  AppSettings loadSettings() override;
  void saveHistory(std::vector<ClipItem> clips) override;
  void saveSettings(AppSettings settings) override;
  void clearHistory() override;
  void flushPendingWrites() override;

 private:
  const std::filesystem::path historyUrl_;
  const std::filesystem::path settingsUrl_;
  SerialQueue queue_{"com.stowboard.storage"};
};

}  // namespace stowboard
