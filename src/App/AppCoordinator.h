#pragma once

#include <memory>

#include "Core/DependencyContainer.h"

namespace stowboard {

/// Turns the object graph into the running program. Main thread.
class AppCoordinator {
 public:
  explicit AppCoordinator(std::unique_ptr<DependencyContainer> container);

  /// Called once: recording begins.
  void start();

  /// Blocks until every pending file write is done.
  void flushPersistence();

 private:
  const std::unique_ptr<DependencyContainer> container_;
};

}  // namespace stowboard
