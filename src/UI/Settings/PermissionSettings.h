#pragma once

#include "UI/Settings/SettingsSection.h"

namespace stowboard {

class FormButton;
class FormNote;
class FormRow;

/// Whether the system lets the program paste, and the way to the system's settings when it does
/// not. Only where the settings ask for direct pasting.
class PermissionSettings : public SettingsSection {
 public:
  explicit PermissionSettings(SettingsViewModel& viewModel);

  void refresh() override;

 private:
  class StatusSymbol;

  StatusSymbol* symbol_;
  QLabel* status_;
  FormRow* statusRow_;
  FormButton* openSettings_;
  FormNote* prompt_;
  QWidget* promptRow_;
};

}  // namespace stowboard
