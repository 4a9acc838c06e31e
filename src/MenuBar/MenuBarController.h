#pragma once

#include <QRect>
#include <functional>
#include <string>

#include "Models/AppLanguage.h"

namespace stowboard {

class MenuBarController {
 public:
  void setupStatusItem() {}
  void languageDidChange() {}

  std::function<void(const QRect& button)> onShowHistory;
  std::function<void()> onOpenSettings;
  std::function<void()> onOpenHelp;
  std::function<void()> onQuit;
  std::function<AppLanguage()> languageProvider;
  std::function<std::string()> versionProvider;
};

}  // namespace stowboard
