#pragma once

#include "UI/Controls/FormSection.h"
#include "UI/Settings/SettingsViewModel.h"

namespace stowboard {

/// A part of the settings form that shows and changes its share of the view model. Main thread.
class SettingsSection : public FormSection {
 public:
  /// The view model must outlive the section.
  explicit SettingsSection(SettingsViewModel& viewModel) : viewModel_(viewModel) {}

  /// Brings texts and controls up to date, and leaves a control alone that is being edited.
  virtual void refresh() = 0;

 protected:
  AppLanguage language() const { return viewModel_.language(); }

  SettingsViewModel& viewModel_;
};

}  // namespace stowboard
