#include "App/AppCoordinator.h"

#include <QCoreApplication>
#include <functional>
#include <iterator>
#include <utility>

#include "App/HelpDocument.h"
#include "Base/Log.h"
#include "MenuBar/MenuBarController.h"
#include "UI/Controls/MenuYielding.h"
#include "UI/Panel/HistoryPanel.h"
#include "UI/Settings/SettingsWindow.h"
#include "Utils/AppBuildInfo.h"
#include "Utils/L10n.h"

namespace stowboard {

namespace {

constexpr std::uint32_t firstQuickPasteId = 100;

bool haveSameHotKeys(const AppSettings& left, const AppSettings& right) {
  return left.hotKey == right.hotKey && left.directPasteModifiers == right.directPasteModifiers;
}

}  // namespace

template <typename Operation>
auto AppCoordinator::weakly(Operation operation) {
  return [owner = weak_from_this(), operation](auto&&... arguments) {
    if (const auto self = owner.lock()) std::invoke(operation, *self, arguments...);
  };
}

std::shared_ptr<AppCoordinator> AppCoordinator::create(const Platform& platform,
                                                       std::shared_ptr<StorageManager> storage) {
  return std::shared_ptr<AppCoordinator>(new AppCoordinator(platform, std::move(storage)));
}

AppCoordinator::AppCoordinator(const Platform& platform, std::shared_ptr<StorageManager> storage)
    : platform_(platform),
      container_(std::make_unique<DependencyContainer>(platform, std::move(storage))) {}

AppCoordinator::~AppCoordinator() = default;

void AppCoordinator::start() {
  container_->clipboardMonitor().start();
  registerHotKey(std::nullopt);
  registerQuickPasteHotKeys(std::nullopt);
  observeSettingsChanges();
  setupStatusItem();
  if (auto* application = QCoreApplication::instance()) {
    menuYielding_ = std::make_unique<MenuYielding>(*platform_.hotKeyCenter);
    application->installEventFilter(menuYielding_.get());
  }
  container_->pasteSimulator().onDidActivate = weakly(&AppCoordinator::closeHistoryPanel);
}

void AppCoordinator::registerHotKey(std::optional<HotKeyConfig> config) {
  const HotKeyConfig chosen = config.value_or(container_->appState()->settings().hotKey);
  const bool isRegistered = container_->hotKeyManager().registerHotKey(
      chosen, weakly([](AppCoordinator& self) { self.showHistoryAt(std::nullopt); }));
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
        weakly([digit](AppCoordinator& self) { self.directPasteClip(digit - 1); }));
  }
}

void AppCoordinator::observeSettingsChanges() {
  // The filter stands behind the skip, so the first change of a run always registers anew.
  container_->appState()
      ->settingsPublisher()
      .dropFirst(1)
      .removeDuplicates(haveSameHotKeys)
      .sink(weakly([](AppCoordinator& self, const AppSettings& settings) {
        self.registerHotKey(settings.hotKey);
        self.registerQuickPasteHotKeys(settings.directPasteModifiers);
      }))
      .storeIn(cancellables_);
  container_->appState()
      ->settingsPublisher()
      .map(&AppSettings::language)
      .removeDuplicates()
      .dropFirst(1)
      .sink(weakly([](AppCoordinator& self, AppLanguage language) {
        self.menuBarController_->languageDidChange();
        if (self.settingsWindow_) {
          self.settingsWindow_->setTitle(L10n::settingsTitle(language));
        }
      }))
      .storeIn(cancellables_);
}

AppLanguage AppCoordinator::language() const { return container_->appState()->settings().language; }

void AppCoordinator::setupStatusItem() {
  menuBarController_ = std::make_unique<MenuBarController>(*platform_.statusItem);
  menuBarController_->onShowHistory = weakly(&AppCoordinator::showHistoryAt);
  menuBarController_->onOpenSettings = weakly(&AppCoordinator::openSettings);
  menuBarController_->onOpenHelp = weakly(&AppCoordinator::openHelp);
  menuBarController_->onQuit = [] { QCoreApplication::quit(); };
  menuBarController_->languageProvider = [weakSelf = weak_from_this()] {
    const auto self = weakSelf.lock();
    return self ? self->language() : AppLanguage::english;
  };
  menuBarController_->versionProvider = [&bundle = *platform_.bundle] {
    return AppBuildInfo::buildVersionString(bundle);
  };
  menuBarController_->setupStatusItem();
}

void AppCoordinator::prepareHistoryPanel() { historyPanel().prepare(); }

HistoryPanel& AppCoordinator::historyPanel() {
  if (!historyPanel_) {
    historyPanel_ = std::make_unique<HistoryPanel>(container_->appState(),
                                                   &container_->pasteSimulator(), platform_);
    historyPanel_->onOpenSettings = weakly(&AppCoordinator::openSettings);
  }
  return *historyPanel_;
}

void AppCoordinator::showHistoryAt(std::optional<QRect> anchor) {
  if (historyPanel().isVisible()) return historyPanel().close();
  if (anchor) {
    historyPanel().showRelativeTo(*anchor);
  } else {
    historyPanel().showAtCursor();
  }
}

void AppCoordinator::presentHistory() {
  if (!container_->appState()->isPanelVisible()) showHistoryAt(std::nullopt);
}

void AppCoordinator::closeHistoryPanel() {
  if (historyPanel_) historyPanel_->close();
}

void AppCoordinator::openSettings() {
  if (!settingsWindow_) {
    settingsWindow_ = std::make_unique<SettingsWindow>(
        std::make_unique<SettingsViewModel>(container_->appState(), container_->permissionHelper(),
                                            container_->loginItemService(), *platform_.runLoop),
        platform_);
  }
  settingsWindow_->setTitle(L10n::settingsTitle(language()));
  settingsWindow_->show();
}

void AppCoordinator::openHelp() {
  HelpDocument::open(container_->appState()->settings(), *platform_.bundle, *platform_.fileOpener);
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
