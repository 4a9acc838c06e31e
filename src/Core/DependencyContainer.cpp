#include "Core/DependencyContainer.h"

#include <set>
#include <string>
#include <utility>

#include "Services/LoginItemService.h"

namespace stowboard {

namespace {

std::shared_ptr<AppState> loadState(StorageManager& storage) {
  std::vector<ClipItem> clips = storage.loadHistory();
  AppSettings settings = storage.loadSettings();
  return std::make_shared<AppState>(std::move(clips), std::move(settings));
}

std::unique_ptr<ClipboardMonitor> makeMonitor(const Platform& platform,
                                              const std::shared_ptr<AppState>& appState) {
  auto excludedBundleIds = [weakState = std::weak_ptr(appState)] {
    const std::shared_ptr<AppState> state = weakState.lock();
    return state ? state->settings().excludedBundleIds : std::set<std::string>();
  };
  return std::make_unique<ClipboardMonitor>(
      *platform.pasteboard, appState, ThumbnailGenerator(*platform.imageCodec),
      std::make_unique<FrontmostAppProvider>(*platform.workspace), std::move(excludedBundleIds),
      *platform.imageCodec, *platform.runLoop);
}

std::unique_ptr<PasteSimulator> makeSimulator(const Platform& platform,
                                              const std::shared_ptr<AppState>& appState,
                                              ClipboardMonitoring& monitor,
                                              PermissionHelper& permission) {
  auto settings = [weakState = std::weak_ptr(appState)] {
    const std::shared_ptr<AppState> state = weakState.lock();
    return state ? state->settings() : AppSettings::defaults;
  };
  return std::make_unique<PasteSimulator>(
      PasteSimulator::Ports{*platform.pasteboard, *platform.imageCodec, *platform.workspace,
                            *platform.keyEventPoster, *platform.runLoop,
                            platform.bundle->identifier()},
      monitor, permission, std::move(settings));
}

}  // namespace

DependencyContainer::DependencyContainer(const Platform& platform,
                                         std::shared_ptr<StorageManager> storage)
    : storage_(storage ? std::move(storage)
                       : std::make_shared<StorageManager>(
                             StorageManager::defaultDirectory(*platform.bundle))),
      appState_(loadState(*storage_)),
      clipboardMonitor_(makeMonitor(platform, appState_)),
      hotKeyManager_(std::make_unique<HotKeyManager>(*platform.hotKeyCenter, *platform.runLoop)),
      permissionHelper_(std::make_unique<PermissionHelper>(*platform.accessibilityTrust)),
      pasteSimulator_(makeSimulator(platform, appState_, *clipboardMonitor_, *permissionHelper_)),
      loginItemService_(std::make_unique<LoginItemService>(*platform.loginItems)) {
  bindPersistence();
}

void DependencyContainer::bindPersistence() {
  const std::weak_ptr<StorageManager> weakStorage = storage_;
  const auto save = [weakStorage](auto operation) {
    return [weakStorage, operation](const auto& value) {
      if (const auto storage = weakStorage.lock()) operation(*storage, value);
    };
  };
  using Clips = AppState::Clips;

  // A cleared history is first saved as empty, then removed: the order of the subscriptions.
  appState_->clipsPublisher()
      .dropFirst(1)
      .sink(save([](StorageManager& storage, const Clips& clips) { storage.saveHistory(clips); }))
      .storeIn(cancellables_);
  appState_->settingsPublisher()
      .dropFirst(1)
      .sink(save([](StorageManager& storage, const AppSettings& settings) {
        storage.saveSettings(settings);
      }))
      .storeIn(cancellables_);
  appState_->clipsPublisher()
      .dropFirst(1)
      .filter([](const Clips& clips) { return clips.empty(); })
      .sink(save([](StorageManager& storage, const Clips&) { storage.clearHistory(); }))
      .storeIn(cancellables_);
}

}  // namespace stowboard
