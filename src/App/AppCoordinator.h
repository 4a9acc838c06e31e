#pragma once

#include <QRect>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "Base/Published.h"
#include "Core/DependencyContainer.h"

namespace stowboard {

class HistoryPanel;
class MenuBarController;
class MenuYielding;
class SettingsWindow;

/// Turns the object graph into the running program: starts recording, registers the global hot keys
/// and keeps them as the settings say, pastes, and owns what is seen: the status item, the history
/// panel and the settings window. Main thread.
class AppCoordinator : public std::enable_shared_from_this<AppCoordinator> {
 public:
  /// Held by shared_ptr: what it hands to other objects holds it weakly. The platform must outlive
  /// it.
  static std::shared_ptr<AppCoordinator> create(const Platform& platform,
                                                std::shared_ptr<StorageManager> storage = nullptr);
  ~AppCoordinator();
  AppCoordinator(const AppCoordinator&) = delete;
  AppCoordinator& operator=(const AppCoordinator&) = delete;

  /// Called once.
  void start();

  /// Builds the history panel before it is first asked for, so that it then opens at once. To be
  /// called once, when there is nothing else to do.
  void prepareHistoryPanel();

  /// Shows the history panel, or hides it when it is open. `anchor` is the status item's rectangle,
  /// in the toolkit's global coordinates; without one, or with an empty one, the panel opens at the
  /// pointer.
  void showHistoryAt(std::optional<QRect> anchor);
  /// Shows the history panel at the pointer; leaves it where it is when it is open.
  void presentHistory();
  void closeHistoryPanel();
  /// Opens the settings window, or brings it to the front.
  void openSettings();
  /// Opens the user guide in the desktop's text viewer.
  void openHelp();

  /// Pastes a clip of the whole history, 0 for the newest; says so in the log when there is none at
  /// that place.
  void directPasteClip(std::ptrdiff_t index);

  /// Blocks until every pending file write is done.
  void flushPersistence();

  const std::shared_ptr<AppState>& appState() const { return container_->appState(); }

 private:
  AppCoordinator(const Platform& platform, std::shared_ptr<StorageManager> storage);

  /// A callable of the operation on this coordinator that does nothing once it is gone.
  template <typename Operation>
  auto weakly(Operation operation);
  void registerHotKey(std::optional<HotKeyConfig> config);
  void registerQuickPasteHotKeys(std::optional<std::uint32_t> modifiers);
  void observeSettingsChanges();
  void setupStatusItem();
  HistoryPanel& historyPanel();
  AppLanguage language() const;

  const Platform& platform_;
  const std::unique_ptr<DependencyContainer> container_;
  std::unique_ptr<MenuBarController> menuBarController_;
  std::unique_ptr<HistoryPanel> historyPanel_;
  std::unique_ptr<SettingsWindow> settingsWindow_;
  std::unique_ptr<MenuYielding> menuYielding_;
  Cancellables cancellables_;
};

}  // namespace stowboard
