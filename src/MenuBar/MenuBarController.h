#pragma once

#include <QIcon>
#include <QRect>
#include <functional>
#include <string>

#include "Models/AppLanguage.h"
#include "Platform/StatusItem.h"

namespace stowboard {

/// What the program's icon in the desktop's panel does: the primary click shows the history, the
/// secondary one a menu. Absent callables do nothing. Main thread.
class MenuBarController {
 public:
  /// The status item must outlive the controller.
  explicit MenuBarController(StatusItem& statusItem) : statusItem_(statusItem) {}
  ~MenuBarController() { statusItem_.hide(); }
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

  /// Called once, with the callables set.
  void setupStatusItem();

  /// For panels that keep a copy of the menu.
  void languageDidChange() { statusItem_.menuDidChange(); }

 private:
  StatusItem::Picture drawIcon(int size);
  StatusMenu menu() const;

  StatusItem& statusItem_;
  /// Made when it is first drawn.
};

}  // namespace stowboard
