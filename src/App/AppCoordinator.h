#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "Base/Published.h"
#include "Core/DependencyContainer.h"

namespace stowboard {

/// Turns the object graph into the running program: starts recording, registers the global hot keys
/// and keeps them as the settings say, and pastes. Main thread.
class AppCoordinator : public std::enable_shared_from_this<AppCoordinator> {
 public:
  /// Held by shared_ptr: what it hands to other objects holds it weakly.
  static std::shared_ptr<AppCoordinator> create(std::unique_ptr<DependencyContainer> container);
  AppCoordinator(const AppCoordinator&) = delete;
  AppCoordinator& operator=(const AppCoordinator&) = delete;

  /// Called once.
  void start();

  /// Shows the history panel, or hides it when it is open.
  void showHistory();
  /// Opens the settings window.
  void openSettings();

  /// Pastes a clip of the whole history, 0 for the newest; says so in the log when there is none at
  /// that place.
  void directPasteClip(std::ptrdiff_t index);

  /// Blocks until every pending file write is done.
  void flushPersistence();

 private:
  explicit AppCoordinator(std::unique_ptr<DependencyContainer> container);

  void registerHotKey(std::optional<HotKeyConfig> config);
  void registerQuickPasteHotKeys(std::optional<std::uint32_t> modifiers);
  void observeSettingsChanges();

  const std::unique_ptr<DependencyContainer> container_;
  Cancellables cancellables_;
};

}  // namespace stowboard
