#pragma once

#include <QMenu>
#include <QObject>
#include <QRect>
#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "Platform/Desktop/Tray/StatusMenu.h"
#include "Models/AppLanguage.h"

class QSystemTrayIcon;

namespace stowboard {

class StatusNotifierHost;
class StatusNotifierItem;

/// The program's icon in the desktop's panel: the primary click shows the history, the secondary
/// one a menu. Wherever a panel takes StatusNotifier items, it is one; otherwise it goes to the X11
/// system tray. Either may appear, end or take over at any time. Absent callables do nothing. Main
/// thread.
class MenuBarController {
 public:
  MenuBarController();
  /// Waits for a connection to the session bus that is being made.
  ~MenuBarController();
  MenuBarController(const MenuBarController&) = delete;
  MenuBarController& operator=(const MenuBarController&) = delete;

  /// With the icon's rectangle in the toolkit's global coordinates; empty where the panel does not
  /// tell it.
  std::function<void(const QRect& button)> onShowHistory;
  std::function<void()> onOpenSettings;
  std::function<void()> onOpenHelp;
  std::function<void()> onQuit;
  /// The language of the menu; English without it.
  std::function<AppLanguage()> languageProvider;
  /// The version that the menu tells.
  std::function<std::string()> versionProvider;

  /// Called once, with the callables set. The icon appears when the session bus has answered. Where
  /// the desktop has no place for it, the log says so once.
  void setupStatusItem();

  /// For panels that keep a copy of the menu.
  void languageDidChange();

  /// The menu as it is now.
  StatusMenu menu() const;

 private:
  void lookForHost();
  void placeIcon(bool inStatusNotifierHost);
  void makeTrayIcon();
  void reportMissingTray();
  void showHistory(const QRect& button) const;

  std::unique_ptr<StatusNotifierItem> item_;
  std::unique_ptr<StatusNotifierHost> host_;
  /// The tray's; filled when it is about to show.
  QMenu trayMenu_;
  std::unique_ptr<QSystemTrayIcon> trayIcon_;
  bool missingTrayIsReported_ = false;
  /// Ends what was posted to the main thread. Outlives the thread that posts.
  QObject context_;
  std::thread connecting_;
};

}  // namespace stowboard
