#pragma once

#include <memory>

#include "Base/Published.h"
#include "Core/AppState.h"
#include "Platform/Platform.h"
#include "Services/ClipboardMonitor.h"
#include "Services/HotKeyManager.h"
#include "Services/LoginItemServicing.h"
#include "Services/PasteSimulator.h"
#include "Services/StorageManager.h"
#include "Utils/PermissionHelper.h"

namespace stowboard {

/// Builds the object graph in one fixed order, owns one instance of every service and of the shared
/// state, and ties the state to the disk: what is stored is loaded first, and every later change is
/// handed to the storage manager. Main thread.
class DependencyContainer {
 public:
  /// The platform must outlive the container. Without a storage it makes its own.
  explicit DependencyContainer(const Platform& platform,
                               std::shared_ptr<StorageManager> storage = nullptr);
  DependencyContainer(const DependencyContainer&) = delete;
  DependencyContainer& operator=(const DependencyContainer&) = delete;

  const std::shared_ptr<AppState>& appState() const { return appState_; }
  StorageManager& storage() const { return *storage_; }
  ClipboardMonitor& clipboardMonitor() const { return *clipboardMonitor_; }
  HotKeyManager& hotKeyManager() const { return *hotKeyManager_; }
  PermissionHelper& permissionHelper() const { return *permissionHelper_; }
  PasteSimulator& pasteSimulator() const { return *pasteSimulator_; }
  LoginItemServicing& loginItemService() const { return *loginItemService_; }

 private:
  void bindPersistence();

  // In the order of construction.
  const std::shared_ptr<StorageManager> storage_;
  const std::shared_ptr<AppState> appState_;
  const std::unique_ptr<ClipboardMonitor> clipboardMonitor_;
  const std::unique_ptr<HotKeyManager> hotKeyManager_;
  const std::unique_ptr<PermissionHelper> permissionHelper_;
  const std::unique_ptr<PasteSimulator> pasteSimulator_;
  const std::unique_ptr<LoginItemServicing> loginItemService_;
  Cancellables cancellables_;
};

}  // namespace stowboard
