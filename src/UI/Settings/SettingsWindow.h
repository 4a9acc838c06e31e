#pragma once

#include <QWidget>
#include <memory>
#include <string_view>

#include "Platform/Platform.h"
#include "UI/Controls/WindowFocus.h"
#include "UI/Settings/SettingsViewModel.h"

namespace stowboard {

class SettingsView;

/// The settings window: titled, of fixed size. Closing it hides it; it keeps its content and its
/// place. Main thread.
class SettingsWindow : public QWidget {
 public:
  /// The platform must outlive it.
  SettingsWindow(std::unique_ptr<SettingsViewModel> viewModel, const Platform& platform);
  ~SettingsWindow() override;

  /// UTF-8.
  void setTitle(std::string_view title);

  /// Shows it in front of all windows and gives it the focus; the first time in the middle of the
  /// screen that the pointer is on.
  void show();

 protected:
  void keyPressEvent(QKeyEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void centerOnScreen();
  void fitDensity();
  void askForFront();

  const std::unique_ptr<SettingsViewModel> viewModel_;
  const std::unique_ptr<SettingsView> view_;
  WindowFocus focus_;
  bool isPlaced_ = false;
  bool isToComeToFront_ = false;
};

}  // namespace stowboard
