#include "UI/Controls/IntegerField.h"

#include <QCoreApplication>
#include <QFocusEvent>
#include <QKeyEvent>
#include <QLocale>
#include <QStyle>
#include <QStyleOptionFrame>

#include "UI/Looks/Colors.h"

namespace stowboard {

namespace {

constexpr int mostCharacters = 18;  // all of which 64 bits can hold

}  // namespace

IntegerField::IntegerField(std::int64_t largest, int width, const Pasteboard& pasteboard)
    : TextField(pasteboard), largest_(largest), width_(width) {
  setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
  setAlignment(Qt::AlignRight | Qt::AlignVCenter);
  setMaxLength(mostCharacters);
  connect(this, &QLineEdit::returnPressed, this, [this] { commit(); });
  connect(qApp, &QCoreApplication::aboutToQuit, this, [this] { commit(); });
}

QSize IntegerField::sizeHint() const {
  constexpr int marginsAndCursor = 6;
  const QSize natural = TextField::sizeHint();
  QStyleOptionFrame frame;
  initStyleOption(&frame);
  const int text = fontMetrics().horizontalAdvance(textOf(largest_)) + marginsAndCursor;
  const QSize needed = style()->sizeFromContents(QStyle::CT_LineEdit, &frame, {text, 0}, this);
  return {qMax(width_, needed.width()), natural.height()};
}

QString IntegerField::textOf(std::int64_t value) const {
  return locale().toString(static_cast<qlonglong>(value));
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
  shown_ = textOf(value_);
  if (isEdited()) setText(shown_);
}

// A menu of its own does not end the editing.
void IntegerField::focusOutEvent(QFocusEvent* event) {
  TextField::focusOutEvent(event);
  if (event->reason() != Qt::PopupFocusReason) commit();
}

void IntegerField::keyPressEvent(QKeyEvent* event) {
  if (event->matches(QKeySequence::Cancel) && isEdited()) return restore();
  TextField::keyPressEvent(event);
}

void IntegerField::paintEvent(QPaintEvent* event) {
  TextField::paintEvent(event);
  paintHighContrastFrame(*this);
}

}  // namespace stowboard
