#include "App/AppCoordinator.h"

#include <iterator>
#include <utility>

#include "Base/Log.h"

namespace stowboard {

namespace {

constexpr std::uint32_t firstQuickPasteId = 100;

bool haveSameHotKeys(const AppSettings& left, const AppSettings& right) {
  return left.hotKey == right.hotKey && left.directPasteModifiers == right.directPasteModifiers;
}

/// A callable that does nothing once its owner is gone.
template <typename Operation>
auto weakly(const std::weak_ptr<AppCoordinator>& owner, Operation operation) {
  return [owner, operation](auto&&... arguments) {
    if (const auto self = owner.lock()) operation(*self, arguments...);
  };
}

}  // namespace

std::shared_ptr<AppCoordinator> AppCoordinator::create(
    std::unique_ptr<DependencyContainer> container) {
  return std::shared_ptr<AppCoordinator>(new AppCoordinator(std::move(container)));
}

AppCoordinator::AppCoordinator(std::unique_ptr<DependencyContainer> container)
    : container_(std::move(container)) {}

void AppCoordinator::start() {
  container_->clipboardMonitor().start();
  registerHotKey(std::nullopt);
  registerQuickPasteHotKeys(std::nullopt);
  observeSettingsChanges();
}

void AppCoordinator::showHistory() { Log::app.info("Asked to show the history"); }

void AppCoordinator::openSettings() { Log::app.info("Asked to open the settings"); }

void AppCoordinator::registerHotKey(std::optional<HotKeyConfig> config) {
  const HotKeyConfig chosen = config.value_or(container_->appState()->settings().hotKey);
  const bool isRegistered = container_->hotKeyManager().registerHotKey(
      chosen, weakly(weak_from_this(), [](AppCoordinator& self) { self.showHistory(); }));
  if (!isRegistered) {
    Log::hotKey.error("Hotkey registration failed — panel remains available via menu bar click");
  }
}

void AppCoordinator::registerQuickPasteHotKeys(std::optional<std::uint32_t> modifiers) {
  const std::uint32_t mask =
      modifiers.value_or(container_->appState()->settings().directPasteModifiers);
  for (int digit = 1; digit <= 9; ++digit) {
    const auto keyCode = HotKeyConfig::keyCodeForDigit(digit);
    if (!keyCode) continue;
    // A digit that is refused simply has no hot key; the manager has logged it.
    container_->hotKeyManager().registerHotKey(
        firstQuickPasteId + static_cast<std::uint32_t>(digit), HotKeyConfig{*keyCode, mask},
        weakly(weak_from_this(),
               [digit](AppCoordinator& self) { self.directPasteClip(digit - 1); }));
  }
}

void AppCoordinator::observeSettingsChanges() {
  // The filter stands behind the skip, so the first change of a run always registers anew.
  container_->appState()
      ->settingsPublisher()
      .dropFirst(1)
      .removeDuplicates(haveSameHotKeys)
      .sink(weakly(weak_from_this(),
                   [](AppCoordinator& self, const AppSettings& settings) {
                     self.registerHotKey(settings.hotKey);
                     self.registerQuickPasteHotKeys(settings.directPasteModifiers);
                   }))
      .storeIn(cancellables_);
}

void AppCoordinator::directPasteClip(std::ptrdiff_t index) {
  const AppState::Clips& clips = container_->appState()->clips();
  if (index < 0 || index >= std::ssize(clips)) {
    Log::paste.info("Direct paste hotkey triggered but no clip at index {}", index);
    return;
  }
  // A copy: the history may change while the clip is pasted.
  const ClipItem clip = clips[static_cast<std::size_t>(index)];
  Log::paste.info("Direct paste triggered for index {}: {}", index, clip.previewText());
  container_->pasteSimulator().activate(clip);
}

void AppCoordinator::flushPersistence() { container_->storage().flushPendingWrites(); }

}  // namespace stowboard
