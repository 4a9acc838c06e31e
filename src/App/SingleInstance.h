#pragma once

#include <filesystem>
#include <memory>
#include <optional>

#include "Platform/ApplicationPresence.h"
#include "Platform/Bundle.h"

namespace stowboard {

/// Holds a folder for one process: an flock() on the folder itself, which ends with the process at
/// the latest and leaves no file behind.
class FolderLock {
 public:
  /// Creates the folder, private to the user, where it is missing. Waits no longer than a moment
  /// for a process that is just ending.
  explicit FolderLock(const std::filesystem::path& folder);
  ~FolderLock();
  FolderLock(const FolderLock&) = delete;
  FolderLock& operator=(const FolderLock&) = delete;

  /// True when another process holds the folder. False also where locking is impossible (a folder
  /// that cannot be made, a file system without locks).
  bool isHeldByOther() const { return isHeldByOther_; }

 private:
  int descriptor_ = -1;
  bool isHeldByOther_ = false;
};

/// Sees to it that only one Stowboard works in a session and on the user's files. By the session
/// bus, where a second launch shows the first one's history; and by a lock on the data folder,
/// which holds without a bus, and between sessions that have one each.
class SingleInstance {
 public:
  /// Asked before anything touches the user's files. Waits a few seconds at most, for another
  /// instance that does not answer. Says on standard error why this process must end, if it must
  /// for want of an answer or by the lock.
  void claim(const Bundle& bundle);

  /// Set when this process must end: with this status.
  const std::optional<int>& exitStatus() const { return exitStatus_; }

  /// Whether there is a session bus and it has answered.
  bool hasSessionBus() const { return presence_ != nullptr; }

  /// Takes calls from the bus, where there is one; see ApplicationPresence::serve().
  void serve(RunLoop& runLoop, ApplicationPresence::Actions actions);

 private:
  void claimName(const Bundle& bundle);
  void lockFolder(const Bundle& bundle);

  // The lock is given back first, so that whoever gets the name next finds the folder free.
  std::unique_ptr<ApplicationPresence> presence_;
  std::unique_ptr<FolderLock> lock_;
  std::optional<int> exitStatus_;
};

}  // namespace stowboard
