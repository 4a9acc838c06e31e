#pragma once

#include "UI/Settings/SettingsSection.h"

namespace stowboard {

class FormRow;
class KeyCap;
class Picker;

/// The shortcut of the history panel, and the modifiers that paste directly with a digit.
class ShortcutSettings : public SettingsSection {
 public:
  explicit ShortcutSettings(SettingsViewModel& viewModel);

  void refresh() override;

 private:
  void addChoices();
  void connectPickers();
  void refreshHotKey();
  void refreshDirectPaste();

  KeyCap* hotKeyCap_;
  FormRow* hotKeyRow_;
  Picker* modifier1_;
  Picker* modifier2_;
  Picker* key_;
  FormRow* hotKeyPickers_;
  KeyCap* directPasteCap_;
  FormRow* directPasteRow_;
  Picker* directPastePair_;
  FormRow* directPastePickers_;
};

}  // namespace stowboard
