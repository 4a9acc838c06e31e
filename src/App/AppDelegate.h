#pragma once

#include <memory>
#include <utility>

#include "App/AppCoordinator.h"
#include "Platform/Platform.h"

namespace stowboard {

/// What happens when the program has been launched and when it is about to end. Main thread.
class AppDelegate {
 public:
  /// The platform must outlive the delegate.
  AppDelegate(const Platform& platform, std::shared_ptr<StorageManager> storage)
      : platform_(platform), storage_(std::move(storage)) {}

  /// Builds everything and starts it.
  void applicationDidFinishLaunching();

  /// Waits until what was recorded is on disk. May be called more than once.
  void applicationWillTerminate();

  /// Null until the program has been launched.
  const std::shared_ptr<AppCoordinator>& coordinator() const { return coordinator_; }

  /// Whether a unit-test runner hosts the program, which then does nothing.
  static bool isRunningTests(const Bundle& bundle);

 private:
  const Platform& platform_;
  std::shared_ptr<StorageManager> storage_;
  std::shared_ptr<AppCoordinator> coordinator_;
};

}  // namespace stowboard
