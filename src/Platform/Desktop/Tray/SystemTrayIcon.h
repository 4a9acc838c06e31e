#pragma once

#include <memory>

#include "Platform/StatusItem.h"

class QSystemTrayIcon;

namespace stowboard {

class ToolkitMenu;

/// The status item in the X11 system tray, by the toolkit's icon. It is to be shown once it is
/// known that no panel takes StatusNotifier items: the toolkit would ask for itself, wait up to 25
/// seconds for a panel that hangs, and stay with the first answer for good. Main thread.
class SystemTrayIcon final : public StatusItem {
 public:
  SystemTrayIcon();
  ~SystemTrayIcon() override;

  void show(Content content) override;
  void hide() override;
  /// The menu is filled when it is about to show.
  void menuDidChange() override {}

 private:
  void make(const Content& content);

  std::unique_ptr<ToolkitMenu> menu_;
  std::unique_ptr<QSystemTrayIcon> icon_;
  bool missingTrayIsReported_ = false;
};

}  // namespace stowboard
