#include "UI/Controls/FormRow.h"

namespace stowboard {

namespace {

constexpr int padding = 12;
constexpr int verticalPadding = 6;
constexpr int leastHeight = 38;

QHBoxLayout* makeLayout(QWidget* row, int gap) {
  auto* line = new QHBoxLayout(row);
  line->setContentsMargins(padding, verticalPadding, padding, verticalPadding);
  line->setSpacing(gap);
  return line;
}

}  // namespace

FormRow::FormRow(std::initializer_list<QWidget*> trailing, int gap) : label_(new QLabel(this)) {
  setMinimumHeight(leastHeight);
  auto* line = makeLayout(this, gap);
  line->addWidget(label_, 1);
  for (QWidget* widget : trailing) line->addWidget(widget, 0, Qt::AlignVCenter);
}

QWidget* FormRow::filledWith(QWidget* content, Qt::Alignment alignment) {
  auto* row = new QWidget;
  makeLayout(row, 0)->addWidget(content, 0, alignment);
  return row;
}

void FormRow::setLabel(std::string_view label) {
  label_->setText(QString::fromUtf8(label));
  if (label_->buddy()) return;
  for (int index = 1; index < layout()->count(); ++index) {
    QWidget* widget = layout()->itemAt(index)->widget();
    if (widget->focusPolicy() != Qt::NoFocus) return label_->setBuddy(widget);
  }
}

void FormRow::setUnseenLabel(QWidget* widget, std::string_view label) {
  QLabel*& unseen = unseenLabels_[widget];
  if (!unseen) {
    unseen = new QLabel(this);
    unseen->hide();
    unseen->setBuddy(widget);
  }
  unseen->setText(QString::fromUtf8(label));
}

}  // namespace stowboard
