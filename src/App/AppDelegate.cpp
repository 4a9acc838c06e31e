#include "App/AppDelegate.h"

#include <utility>

#include "Base/Log.h"

namespace stowboard {

void AppDelegate::applicationDidFinishLaunching() {
  if (isRunningTests(*platform_.bundle)) return;
  // Nothing keeps the poll alive here: Linux neither naps nor throttles a background process.
  const auto coordinator = AppCoordinator::create(std::make_unique<DependencyContainer>(platform_));
  coordinator->start();
  coordinator_ = coordinator;
  Log::app.info("Stowboard launched");
}

void AppDelegate::applicationWillTerminate() {
  if (coordinator_) coordinator_->flushPersistence();
}

bool AppDelegate::isRunningTests(const Bundle& bundle) {
  return bundle.environment("XCTestConfigurationFilePath").has_value();
}

}  // namespace stowboard
