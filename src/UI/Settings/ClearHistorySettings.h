#pragma once

#include "UI/Settings/SettingsSection.h"

namespace stowboard {

class ClearHistoryDialog;
class FormButton;

/// Clears the history, after a confirmation.
class ClearHistorySettings : public SettingsSection {
 public:
  explicit ClearHistorySettings(SettingsViewModel& viewModel);

  void refresh() override;

 protected:
  void changeEvent(QEvent* event) override;

 private:
  void applyColor();
  void showConfirmation();

  FormButton* clear_;
  ClearHistoryDialog* dialog_;
};

}  // namespace stowboard
