#pragma once

#include "UI/Controls/TextField.h"
#include "UI/Settings/SettingsSection.h"

namespace stowboard {

class FormRow;
class IntegerField;
class Stepper;

/// How many clips the history keeps.
class HistorySettings : public SettingsSection {
 public:
  HistorySettings(SettingsViewModel& viewModel, ClipboardText clipboardText);

  void refresh() override;

 private:
  void setMaxRecords(std::int64_t count);

  IntegerField* field_;
  Stepper* stepper_;
  FormRow* row_;
};

}  // namespace stowboard
