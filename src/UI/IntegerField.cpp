#include "UI/IntegerField.h"

#include <QFocusEvent>
#include <QKeyEvent>
#include <QLocale>
#include <QPainter>

#include "UI/Colors.h"

namespace stowboard {

namespace {

constexpr int mostCharacters = 18;  // all of which 64 bits can hold

}  // namespace

IntegerField::IntegerField(QWidget* parent) : QLineEdit(parent) {
  setAlignment(Qt::AlignRight | Qt::AlignVCenter);
  setMaxLength(mostCharacters);
  connect(this, &QLineEdit::returnPressed, this, [this] { commit(); });
}

void IntegerField::showValue(std::int64_t value) {
  value_ = value;
  if (!isEdited()) restore();
}

// Told by the text itself, because assistive technologies change it without marking it as modified.
void IntegerField::commit() {
  if (!isEdited()) return;
  bool isNumber = false;
  const std::int64_t typed = locale().toLongLong(text().trimmed(), &isNumber);
  restore();
  if (isNumber && onCommit) onCommit(typed);
}

void IntegerField::restore() {
  shown_ = locale().toString(static_cast<qlonglong>(value_));
  if (isEdited()) setText(shown_);
}

// A menu of its own does not end the editing.
void IntegerField::focusOutEvent(QFocusEvent* event) {
  QLineEdit::focusOutEvent(event);
  if (event->reason() != Qt::PopupFocusReason) commit();
}

void IntegerField::keyPressEvent(QKeyEvent* event) {
  if (event->matches(QKeySequence::Cancel) && isEdited()) return restore();
  QLineEdit::keyPressEvent(event);
}

// Styles derive a field's frame from the window's colour, which leaves none on black.
void IntegerField::paintEvent(QPaintEvent* event) {
  QLineEdit::paintEvent(event);
  const Colors colors(palette());
  if (hasFocus() || !colors.isHighContrast()) return;
  QPainter painter(this);
  painter.setPen(colors.separator());
  painter.drawRect(rect().adjusted(0, 0, -1, -1));
}

}  // namespace stowboard
