#include "UI/Settings/HistorySettings.h"

#include <utility>

#include "UI/Controls/FormRow.h"
#include "UI/Controls/IntegerField.h"
#include "UI/Controls/Stepper.h"
#include "Utils/L10n.h"

namespace stowboard {

HistorySettings::HistorySettings(SettingsViewModel& viewModel, ClipboardText clipboardText)
    : SettingsSection(viewModel),
      field_(new IntegerField(1000, 55)),
      stepper_(new Stepper(10, 100, 5)),
      row_(new FormRow({field_, stepper_}, 6)) {
  field_->clipboardText = std::move(clipboardText);
  field_->onCommit = [this](std::int64_t count) { setMaxRecords(count); };
  stepper_->onStep = [this](std::int64_t count) { setMaxRecords(count); };
  addRow(row_);
}

// The change is announced on a later turn, when a held stepper may already have taken another step.
void HistorySettings::setMaxRecords(std::int64_t count) {
  viewModel_.setMaxRecordsInt(count);
  refresh();
}

void HistorySettings::refresh() {
  setTitle(L10n::historySection(language()));
  row_->setLabel(L10n::maxRecords(language()));
  field_->setLanguage(language());
  field_->showValue(viewModel_.settings().maxRecords);
  stepper_->setNumber(viewModel_.settings().maxRecords);
  stepper_->setAccessibleName(QString::fromUtf8(L10n::maxRecords(language())));
}

}  // namespace stowboard
