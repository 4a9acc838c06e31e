#include "UI/Settings/ClearHistorySettings.h"

#include <QEvent>

#include "UI/Controls/FormButton.h"
#include "UI/Controls/FormRow.h"
#include "UI/Looks/Colors.h"
#include "UI/Settings/ClearHistoryDialog.h"
#include "Utils/L10n.h"

namespace stowboard {

ClearHistorySettings::ClearHistorySettings(SettingsViewModel& viewModel)
    : SettingsSection(viewModel), clear_(new FormButton), dialog_(new ClearHistoryDialog(this)) {
  connect(clear_, &FormButton::clicked, this,
          [this] { viewModel_.setShowClearConfirmation(true); });
  connect(dialog_, &QDialog::finished, this, [this](int result) {
    if (result == QDialog::Accepted) return viewModel_.clearHistory();
    viewModel_.setShowClearConfirmation(false);
  });
  addRow(FormRow::filledWith(clear_, Qt::AlignLeading));
  applyColor();
}

void ClearHistorySettings::refresh() {
  clear_->setText(QString::fromUtf8(L10n::clearAllHistory(language())));
  dialog_->setLanguage(language());
  showConfirmation();
}

void ClearHistorySettings::showConfirmation() {
  const bool isAsked = viewModel_.showClearConfirmation();
  if (isAsked == dialog_->isVisible()) return;
  if (isAsked) {
    dialog_->open();
  } else {
    dialog_->reject();
  }
}

void ClearHistorySettings::changeEvent(QEvent* event) {
  if (event->type() == QEvent::PaletteChange) applyColor();
  SettingsSection::changeEvent(event);
}

void ClearHistorySettings::applyColor() {
  QPalette destructive;
  destructive.setColor(QPalette::ButtonText, Colors(palette()).red());
  clear_->setPalette(destructive);
}

}  // namespace stowboard
