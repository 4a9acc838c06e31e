#include "UI/Settings/PermissionSettings.h"

#include <QPainter>

#include "UI/Controls/FormButton.h"
#include "UI/Controls/FormNote.h"
#include "UI/Controls/FormRow.h"
#include "UI/Looks/Icons.h"
#include "Utils/L10n.h"

namespace stowboard {

/// A check mark in green or a warning in orange; the text beside it says the same.
class PermissionSettings::StatusSymbol : public QWidget {
 public:
  StatusSymbol() { setFixedSize(size, size); }

  void setGranted(bool isGranted) {
    isGranted_ = isGranted;
    update();
  }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    const Colors colors(palette());
    Icons::paint(painter, rect(), isGranted_ ? Symbol::checkmark : Symbol::warning, size,
                 isGranted_ ? colors.green() : colors.orange());
  }

 private:
  static constexpr int size = 16;

  bool isGranted_ = false;
};

PermissionSettings::PermissionSettings(SettingsViewModel& viewModel)
    : SettingsSection(viewModel),
      symbol_(new StatusSymbol),
      status_(new QLabel),
      statusRow_(new FormRow({symbol_, status_}, 6)),
      openSettings_(new FormButton),
      prompt_(new FormNote(&Colors::secondary)) {
  connect(openSettings_, &FormButton::clicked, this,
          [this] { viewModel_.openAccessibilitySettings(); });
  auto* remedy = new QWidget;
  auto* column = new QVBoxLayout(remedy);
  column->setContentsMargins(0, 4, 0, 4);
  column->addWidget(openSettings_, 0, Qt::AlignLeading);
  column->addWidget(prompt_);
  promptRow_ = FormRow::filledWith(remedy);
  addRow(statusRow_);
  addRow(promptRow_);
}

void PermissionSettings::refresh() {
  const bool isGranted = viewModel_.permissionGranted();
  setTitle(L10n::permissionSection(language()));
  statusRow_->setLabel(L10n::permissionStatus(language()));
  symbol_->setGranted(isGranted);
  status_->setText(QString::fromUtf8(isGranted ? L10n::permissionGranted(language())
                                               : L10n::permissionNotGranted(language())));
  openSettings_->setText(QString::fromUtf8(L10n::openSystemSettings(language())));
  prompt_->setNote(L10n::permissionPrompt(language()));
  promptRow_->setVisible(!isGranted);
  setVisible(viewModel_.isDirectPaste());
}

}  // namespace stowboard
