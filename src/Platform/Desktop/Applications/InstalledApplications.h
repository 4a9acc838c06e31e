#pragma once

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "Platform/ApplicationIdentifying.h"
#include "Platform/Desktop/Applications/DesktopEntries.h"
#include "Platform/Desktop/XdgFolders.h"

namespace stowboard {

/// The user's installed applications, kept up to date: read at once on a thread of its own and
/// again whenever a .desktop file or a folder of them changes (inotify), after the changes have
/// paused. In between that thread sleeps without waking. Safe to use from any thread.
class InstalledApplications final : public ApplicationIdentifying {
 public:
  explicit InstalledApplications(
      std::vector<std::filesystem::path> dataFolders = XdgFolders::data());
  ~InstalledApplications() override;
  InstalledApplications(const InstalledApplications&) = delete;
  InstalledApplications& operator=(const InstalledApplications&) = delete;

  /// The newest state. Until the first reading, a matter of milliseconds, is done, a call waits
  /// for it, but no longer than longestWait, and then gives none. Never null.
  std::shared_ptr<const DesktopEntries> entries() const;

  /// As ApplicationIds.h says; for this process's own windows the program's own id.
  std::optional<std::string> applicationId(const WindowTraits& window) const override;
  bool isTerminal(const std::string& applicationId) const override;

  static constexpr std::chrono::milliseconds longestWait{100};

 private:
  class ChangeWatch;

  void run();
  void publish(std::shared_ptr<const DesktopEntries> entries);

  const std::vector<std::filesystem::path> dataFolders_;
  const int endingEvent_;
  mutable std::mutex mutex_;
  mutable std::condition_variable isRead_;
  std::shared_ptr<const DesktopEntries> entries_;
  std::thread thread_;
};

}  // namespace stowboard
