#include "UI/Settings/ClearHistoryDialog.h"

#include <QAccessible>
#include <QDialogButtonBox>
#include <QGridLayout>

#include "UI/Controls/Form.h"
#include "UI/Controls/SymbolView.h"
#include "UI/Looks/Fonts.h"
#include "Utils/L10n.h"

namespace stowboard {

ClearHistoryDialog::ClearHistoryDialog(QWidget* parent)
    : QDialog(parent),
      title_(new QLabel),
      message_(new QLabel),
      confirm_(new FormButton),
      cancel_(new FormButton) {
  Fonts::useFamilies(*this);
  QFont bold;
  bold.setBold(true);
  title_->setFont(bold);
  auto* buttons = new QDialogButtonBox;
  buttons->addButton(confirm_, QDialogButtonBox::DestructiveRole);
  buttons->addButton(cancel_, QDialogButtonBox::RejectRole);
  cancel_->setDefault(true);
  connect(confirm_, &QPushButton::clicked, this, &QDialog::accept);
  connect(cancel_, &QPushButton::clicked, this, &QDialog::reject);

  auto* grid = new QGridLayout(this);
  grid->setContentsMargins(20, 20, 20, 16);
  grid->setHorizontalSpacing(16);
  grid->setVerticalSpacing(6);
  grid->addWidget(new SymbolView(Symbol::warning, 40, &Colors::orange), 0, 0, 2, 1, Qt::AlignTop);
  grid->addWidget(title_, 0, 1, Qt::AlignBottom);
  grid->addWidget(message_, 1, 1, Qt::AlignTop);
  grid->setRowMinimumHeight(2, 10);
  grid->addWidget(buttons, 3, 0, 1, 2);
  grid->setColumnStretch(1, 1);
  grid->setSizeConstraint(QLayout::SetFixedSize);
}

void ClearHistoryDialog::setLanguage(AppLanguage language) {
  setWindowTitle(QString::fromUtf8(L10n::clearHistoryConfirm(language)));
  title_->setText(QString::fromUtf8(L10n::clearHistoryDialogTitle(language)));
  message_->setText(QString::fromUtf8(L10n::cannotBeUndone(language)));
  confirm_->setText(QString::fromUtf8(L10n::clearHistoryConfirm(language)));
  cancel_->setText(QString::fromUtf8(L10n::cancel(language)));
  // What a screen reader reads when the question appears.
  setAccessibleName(title_->text());
  setAccessibleDescription(message_->text());
}

void ClearHistoryDialog::showEvent(QShowEvent* event) {
  QDialog::showEvent(event);
  cancel_->setFocus();
  QAccessibleEvent alert(this, QAccessible::Alert);
  QAccessible::updateAccessibility(&alert);
}

}  // namespace stowboard
