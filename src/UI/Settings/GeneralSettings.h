#pragma once

#include "UI/Settings/SettingsSection.h"

namespace stowboard {

class FormNote;
class FormRow;
class Picker;
class Switch;

/// The language, and launching at login.
class GeneralSettings : public SettingsSection {
 public:
  explicit GeneralSettings(SettingsViewModel& viewModel);

  void refresh() override;

 private:
  Picker* language_;
  FormRow* languageRow_;
  Switch* launchAtLogin_;
  FormRow* launchAtLoginRow_;
  FormNote* error_;
  QWidget* errorRow_;
};

}  // namespace stowboard
