#include "MenuBar/MenuBarController.h"

#include <QCursor>
#include <QDBusConnection>
#include <QGuiApplication>
#include <QScreen>
#include <QSystemTrayIcon>

#include "Base/Log.h"
#include "Base/SignalFreeThread.h"
#include "MenuBar/MenuBarIcon.h"
#include "Platform/Desktop/Tray/StatusNotifierHost.h"
#include "Platform/Desktop/Tray/StatusNotifierItem.h"
#include "Utils/L10n.h"

namespace stowboard {

namespace {

// Calls what is set; a copy, because the callee may replace it.
template <typename Callable, typename... Arguments>
void callIfSet(Callable callable, const Arguments&... arguments) {
  if (callable) callable(arguments...);
}

// Screens keep their corner in pixels and their size in units of their own ratio.
QRect squareAt(const QPoint& pixel) {
  if (pixel.isNull()) return {};
  for (const QScreen* screen : QGuiApplication::screens()) {
    const QPoint corner = screen->geometry().topLeft();
    const QPoint place = corner + (pixel - corner) / screen->devicePixelRatio();
    if (screen->geometry().contains(place)) return {place, QSize(1, 1)};
  }
  return {};
}

}  // namespace

MenuBarController::MenuBarController() {
  QObject::connect(&trayMenu_, &QMenu::aboutToShow, &trayMenu_,
                   [this] { fill(trayMenu_, menu()); });
}

MenuBarController::~MenuBarController() {
  if (connecting_.joinable()) connecting_.join();
}

StatusMenu MenuBarController::menu() const {
  const AppLanguage language = languageProvider ? languageProvider() : AppLanguage::english;
  const std::string version = versionProvider ? versionProvider() : "";
  return {{std::string(L10n::menuHelp(language)), "?", [this] { callIfSet(onOpenHelp); }},
          {std::string(L10n::menuSettings(language)), ",", [this] { callIfSet(onOpenSettings); }},
          {},
          {L10n::menuVersion(language, version), "", nullptr},
          {std::string(L10n::menuQuit(language)), "Q", [this] { callIfSet(onQuit); }}};
}

// Making the connection waits for the bus.
void MenuBarController::setupStatusItem() {
  connecting_ = startSignalFreeThread("status-item", [this] {
    QDBusConnection::sessionBus();
    QMetaObject::invokeMethod(
        &context_, [this] { lookForHost(); }, Qt::QueuedConnection);
  });
}

void MenuBarController::languageDidChange() {
  if (item_) item_->menuDidChange();
}

void MenuBarController::lookForHost() {
  const QDBusConnection connection = QDBusConnection::sessionBus();
  item_ = std::make_unique<StatusNotifierItem>(menuBarIcon(), [this] { return menu(); });
  item_->onActivate = [this](const QPoint& hint) { showHistory(squareAt(hint)); };
  item_->onContextMenu = [this] { trayMenu_.popup(QCursor::pos()); };
  if (connection.isConnected()) item_->registerWithMenuOn(connection);
  host_ = std::make_unique<StatusNotifierHost>(connection,
                                               [this](bool isPresent) { placeIcon(isPresent); });
  host_->look();
}

// The toolkit's own icon is made once it is known that no panel takes StatusNotifier items: it
// would ask for itself, wait up to 25 seconds for a panel that hangs, and stay with the first
// answer for good.
void MenuBarController::placeIcon(bool inStatusNotifierHost) {
  if (!inStatusNotifierHost && !trayIcon_) makeTrayIcon();
  if (trayIcon_) trayIcon_->setVisible(!inStatusNotifierHost);
  if (!inStatusNotifierHost && !QSystemTrayIcon::isSystemTrayAvailable()) reportMissingTray();
}

void MenuBarController::makeTrayIcon() {
  trayIcon_ = std::make_unique<QSystemTrayIcon>(menuBarIcon());
  trayIcon_->setContextMenu(&trayMenu_);
  QObject::connect(
      trayIcon_.get(), &QSystemTrayIcon::activated, trayIcon_.get(),
      [this](QSystemTrayIcon::ActivationReason reason) {
        // A second click in quick succession is told as a double click only.
        if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::DoubleClick) {
          showHistory(trayIcon_->geometry());
        }
      });
}

void MenuBarController::reportMissingTray() {
  if (missingTrayIsReported_) return;
  missingTrayIsReported_ = true;
  Log::ui.info("No panel shows status icons yet; the hot key and a second launch show the history");
}

void MenuBarController::showHistory(const QRect& button) const { callIfSet(onShowHistory, button); }

}  // namespace stowboard
