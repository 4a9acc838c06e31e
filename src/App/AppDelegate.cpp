#include "App/AppDelegate.h"

#include <chrono>

#include "Base/Log.h"

namespace stowboard {

namespace {

// The desktop starts many programs at once; the panel can wait until they have.
constexpr auto panelWaits = std::chrono::milliseconds(100);

}  // namespace

void AppDelegate::applicationDidFinishLaunching() {
  // Nothing keeps the poll alive here: Linux neither naps nor throttles a background process.
  const auto coordinator = AppCoordinator::create(platform_, std::move(storage_));
  coordinator->start();
  coordinator_ = coordinator;
  platform_.runLoop->postAfter(panelWaits, [weak = std::weak_ptr(coordinator)] {
    if (const auto running = weak.lock()) running->prepareHistoryPanel();
  });
  Log::app.info("Stowboard launched");
}

void AppDelegate::applicationWillTerminate() {
  if (coordinator_) coordinator_->flushPersistence();
}

bool AppDelegate::isRunningTests(const Bundle& bundle) {
  return bundle.environment("XCTestConfigurationFilePath").has_value();
}

}  // namespace stowboard
