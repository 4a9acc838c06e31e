#include "App/AppCoordinator.h"

#include <utility>

namespace stowboard {

AppCoordinator::AppCoordinator(std::unique_ptr<DependencyContainer> container)
    : container_(std::move(container)) {}

void AppCoordinator::start() { container_->clipboardMonitor().start(); }

void AppCoordinator::flushPersistence() { container_->storage().flushPendingWrites(); }

}  // namespace stowboard
