#include "UI/IntegerField.h"

#include <QKeyEvent>
#include <QLocale>
#include <QPainter>

#include "UI/Colors.h"

namespace stowboard {

IntegerField::IntegerField(QWidget* parent) : QLineEdit(parent) {
  setAlignment(Qt::AlignRight | Qt::AlignVCenter);
  connect(this, &QLineEdit::editingFinished, this, [this] { commit(); });
}

void IntegerField::showValue(std::int64_t value) {
  value_ = value;
  if (!isModified()) restore();
}

void IntegerField::commit() {
  if (!isModified()) return;
  bool isNumber = false;
  const std::int64_t typed = locale().toLongLong(text().trimmed(), &isNumber);
  restore();
  if (isNumber && onCommit) onCommit(typed);
}

void IntegerField::restore() {
  const QString shown = locale().toString(static_cast<qlonglong>(value_));
  if (isModified() || shown != text()) setText(shown);
  setModified(false);
}

void IntegerField::keyPressEvent(QKeyEvent* event) {
  if (event->matches(QKeySequence::Cancel) && isModified()) return restore();
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
