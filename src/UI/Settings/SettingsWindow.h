#pragma once

#include <QWidget>
#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>

#include "UI/Controls/TextField.h"
#include "UI/Settings/SettingsViewModel.h"

namespace stowboard {

class SettingsView;

/// The settings window: titled, of fixed size. Closing it hides it; it keeps its content and its
/// place. Main thread.
class SettingsWindow : public QWidget {
 public:
  /// `clipboardText` is what its fields paste from.
  explicit SettingsWindow(std::unique_ptr<SettingsViewModel> viewModel,
                          ClipboardText clipboardText = nullptr);
  ~SettingsWindow() override;

  /// UTF-8.
  void setTitle(std::string_view title);

  /// Shows it in front of all windows and gives it the focus; the first time in the middle of the
  /// screen that the pointer is on.
  void show();

  /// Asks the window manager to bring a window of this program to the front, which it may not do by
  /// itself; called when the window is on screen. Absent at first.
  std::function<void(std::uint64_t window)> bringToFront;

 protected:
  void keyPressEvent(QKeyEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void centerOnScreen();
  void askForFront();

  const std::unique_ptr<SettingsViewModel> viewModel_;
  const std::unique_ptr<SettingsView> view_;
  bool isPlaced_ = false;
  bool isToComeToFront_ = false;
};

}  // namespace stowboard
