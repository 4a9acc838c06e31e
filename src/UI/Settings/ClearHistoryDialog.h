#pragma once

#include <QDialog>
#include <QLabel>
#include <QPushButton>

#include "Models/AppLanguage.h"

namespace stowboard {

/// Asks whether the whole history is to be cleared; accepted when it is. Cancelling is the default.
/// Main thread.
class ClearHistoryDialog : public QDialog {
 public:
  explicit ClearHistoryDialog(QWidget* parent);

  /// Also while it is open.
  void setLanguage(AppLanguage language);

 protected:
  void showEvent(QShowEvent* event) override;

 private:
  QLabel* title_;
  QLabel* message_;
  QPushButton* confirm_;
  QPushButton* cancel_;
};

}  // namespace stowboard
