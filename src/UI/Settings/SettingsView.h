#pragma once

#include <QTimer>
#include <QWidget>
#include <vector>

#include "Platform/Pasteboard.h"
#include "UI/Settings/SettingsViewModel.h"

class QScrollArea;

namespace stowboard {

class SettingsSection;

/// The content of the settings window: one form, of fixed size, that scrolls. Shows what the view
/// model says, writes every change at once, and has the permission looked at again when the user
/// may have changed it. Main thread.
class SettingsView : public QWidget {
 public:
  /// Both must outlive the view; its fields paste from the pasteboard.
  SettingsView(SettingsViewModel& viewModel, const Pasteboard& pasteboard);

 protected:
  void showEvent(QShowEvent* event) override;
  void hideEvent(QHideEvent* event) override;

 private:
  void layOut();
  void keepFocusInSight();
  void watchPermission();
  void refresh();
  void updatePermissionTimer();

  SettingsViewModel& viewModel_;
  QScrollArea* scrollArea_;
  const std::vector<SettingsSection*> sections_;
  QTimer permissionTimer_;
  Subscription changes_;
};

}  // namespace stowboard
