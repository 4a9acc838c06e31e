#pragma once

#include <vector>

#include "Models/AppSettings.h"
#include "Models/ClipItem.h"

namespace stowboard {

/// Keeps the history and the settings.
class StorageStoring {
 public:
  virtual ~StorageStoring() = default;

  /// The stored history, newest first; empty when there is none that can be read. Synchronous.
  virtual std::vector<ClipItem> loadHistory() = 0;
  /// The stored settings, or the defaults. Synchronous.
  virtual AppSettings loadSettings() = 0;

  /// Each returns at once; the file work happens later, in the order of the calls.
  virtual void saveHistory(std::vector<ClipItem> clips) = 0;
  virtual void saveSettings(AppSettings settings) = 0;
  virtual void clearHistory() = 0;

  /// Blocks until all file work submitted before the call is done.
  virtual void flushPendingWrites() = 0;
};

}  // namespace stowboard
