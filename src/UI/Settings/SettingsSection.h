#pragma once

#include <functional>
#include <string_view>
#include <utility>
#include <vector>

#include "Platform/Pasteboard.h"
#include "UI/Controls/Form.h"
#include "UI/Settings/SettingsViewModel.h"

namespace stowboard {

/// A part of the settings form that shows and changes its share of the view model. Main thread.
class SettingsSection : public FormSection {
 public:
  /// A text in the language that it is given, UTF-8.
  using Localized = std::function<std::string_view(AppLanguage)>;

  /// Every section, in the order of the form. The view model and the pasteboard, which fields paste
  /// from, must outlive them.
  static std::vector<SettingsSection*> makeAll(SettingsViewModel& viewModel,
                                               const Pasteboard& pasteboard);

  explicit SettingsSection(SettingsViewModel& viewModel) : viewModel_(viewModel) {}

  AppLanguage language() const { return viewModel_.language(); }

  void showTitle(Localized title);
  void addLabelledRow(Localized label, const std::vector<QWidget*>& trailing,
                      int gap = FormRow::usualGap);
  /// The update brings a control up to date, and leaves it alone where it is being edited.
  void onRefresh(std::function<void()> update) { updates_.push_back(std::move(update)); }

  /// Brings texts and controls up to date.
  void refresh();

 private:
  SettingsViewModel& viewModel_;
  std::vector<std::function<void()>> updates_;
};

}  // namespace stowboard
