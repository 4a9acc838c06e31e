#include "App/AppCoordinator.h"

#include <unistd.h>

#include <QCoreApplication>
#include <iterator>
#include <utility>

#include "App/HelpDocument.h"
#include "Base/Log.h"
#include "MenuBar/MenuBarController.h"
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

/// A callable that does nothing once its owner is gone.
template <typename Operation>
auto weakly(const std::weak_ptr<AppCoordinator>& owner, Operation operation) {
  return [owner, operation](auto&&... arguments) {
    if (const auto self = owner.lock()) operation(*self, arguments...);
  };
}

}  // namespace

std::shared_ptr<AppCoordinator> AppCoordinator::create(const Platform& platform) {
  return std::shared_ptr<AppCoordinator>(new AppCoordinator(platform));
}

AppCoordinator::AppCoordinator(const Platform& platform)
    : platform_(platform), container_(std::make_unique<DependencyContainer>(platform)) {}

AppCoordinator::~AppCoordinator() = default;

void AppCoordinator::start() {
  container_->clipboardMonitor().start();
  registerHotKey(std::nullopt);
  registerQuickPasteHotKeys(std::nullopt);
  observeSettingsChanges();
  setupStatusItem();
  container_->pasteSimulator().onDidActivate =
      weakly(weak_from_this(), [](AppCoordinator& self) { self.closeHistoryPanel(); });
}

void AppCoordinator::registerHotKey(std::optional<HotKeyConfig> config) {
  const HotKeyConfig chosen = config.value_or(container_->appState()->settings().hotKey);
  const bool isRegistered = container_->hotKeyManager().registerHotKey(
      chosen,
      weakly(weak_from_this(), [](AppCoordinator& self) { self.showHistoryAt(std::nullopt); }));
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
  container_->appState()
      ->settingsPublisher()
      .map(&AppSettings::language)
      .removeDuplicates()
      .dropFirst(1)
      .sink(weakly(weak_from_this(),
                   [](AppCoordinator& self, AppLanguage language) {
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
  menuBarController_->onShowHistory =
      weakly(weak_from_this(),
             [](AppCoordinator& self, const QRect& button) { self.showHistoryAt(button); });
  menuBarController_->onOpenSettings =
      weakly(weak_from_this(), [](AppCoordinator& self) { self.openSettings(); });
  menuBarController_->onOpenHelp =
      weakly(weak_from_this(), [](AppCoordinator& self) { self.openHelp(); });
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

void AppCoordinator::prepareHistoryPanel(std::function<void()> onDidPrepare) {
  if (!historyPanel_) historyPanel_ = makeHistoryPanel();
  historyPanel_->prepare(std::move(onDidPrepare));
}

std::unique_ptr<HistoryPanel> AppCoordinator::makeHistoryPanel() {
  HistoryPanel::Desktop desktop;
  desktop.mainQueue = mainQueue();
  desktop.isCompositing = [&compositing = *platform_.compositing] {
    return compositing.isRunning();
  };
  desktop.bringToFront = weakly(weak_from_this(), [](AppCoordinator& self, std::uint64_t window) {
    self.bringToFront(window);
  });
  desktop.returnFocus = weakly(weak_from_this(), [](AppCoordinator& self) { self.returnFocus(); });
  desktop.prepareToShow = [&windows = *platform_.transientWindows](std::uint64_t window,
                                                                   int shadowMargin) {
    windows.prepareToShow(window, shadowMargin);
  };
  desktop.watchClicksOutside = [&windows = *platform_.transientWindows](std::uint64_t window,
                                                                        auto onClickOutside) {
    return windows.watch(window, std::move(onClickOutside));
  };
  desktop.clipboardText = clipboardText();
  platform_.compositing->onDidChange = weakly(weak_from_this(), [](AppCoordinator& self) {
    if (self.historyPanel_) self.historyPanel_->compositingDidChange();
  });
  auto panel = std::make_unique<HistoryPanel>(container_->appState(), &container_->pasteSimulator(),
                                              std::move(desktop));
  panel->onOpenSettings =
      weakly(weak_from_this(), [](AppCoordinator& self) { self.openSettings(); });
  return panel;
}

void AppCoordinator::showHistoryAt(std::optional<QRect> anchor) {
  if (historyPanel_ && historyPanel_->isVisible()) return historyPanel_->close();
  if (!historyPanel_) historyPanel_ = makeHistoryPanel();
  rememberFocus();
  if (anchor) {
    historyPanel_->showRelativeTo(*anchor);
  } else {
    historyPanel_->showAtCursor();
  }
}

void AppCoordinator::presentHistory() {
  if (!container_->appState()->isPanelVisible()) showHistoryAt(std::nullopt);
}

void AppCoordinator::closeHistoryPanel() {
  if (historyPanel_) historyPanel_->close();
}

void AppCoordinator::openSettings() {
  if (!settingsWindow_) settingsWindow_ = makeSettingsWindow();
  settingsWindow_->setTitle(L10n::settingsTitle(language()));
  settingsWindow_->show();
}

std::unique_ptr<SettingsWindow> AppCoordinator::makeSettingsWindow() {
  auto viewModel =
      std::make_unique<SettingsViewModel>(container_->appState(), container_->permissionHelper(),
                                          container_->loginItemService(), mainQueue());
  auto window = std::make_unique<SettingsWindow>(std::move(viewModel), clipboardText());
  window->bringToFront = weakly(
      weak_from_this(), [](AppCoordinator& self, std::uint64_t own) { self.bringToFront(own); });
  return window;
}

MainQueue AppCoordinator::mainQueue() const {
  return [&runLoop = *platform_.runLoop](auto task) { runLoop.post(std::move(task)); };
}

// What our own windows paste: the snapshot, whose owner need not be asked.
ClipboardText AppCoordinator::clipboardText() const {
  return
      [&pasteboard = *platform_.pasteboard] { return pasteboard.string(PasteboardType::string); };
}

void AppCoordinator::openHelp() {
  HelpDocument::open(container_->appState()->settings(), *platform_.bundle, *platform_.fileOpener);
}

// The user asked for it, by a hot key or a click that the toolkit has not seen.
void AppCoordinator::bringToFront(std::uint64_t ownWindow) {
  platform_.workspace->activate({platform_.bundle->identifier(), ::getpid(), ownWindow});
}

void AppCoordinator::rememberFocus() {
  focusedBefore_ = platform_.workspace->frontmostApplication();
}

// Window managers choose by rules of their own; the user was in that one.
void AppCoordinator::returnFocus() {
  if (focusedBefore_) platform_.workspace->activate(*focusedBefore_);
  focusedBefore_.reset();
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
