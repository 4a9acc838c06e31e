#include "UI/Controls/FormNote.h"

#include <QEvent>

namespace stowboard {

FormNote::FormNote(Color color, QWidget* parent) : QLabel(parent), color_(color) {
  QFont small;
  small.setPixelSize(11);
  setFont(small);
  setTextFormat(Qt::PlainText);
  setWordWrap(true);
  applyColor();
}

void FormNote::changeEvent(QEvent* event) {
  if (event->type() == QEvent::PaletteChange) applyColor();
  QLabel::changeEvent(event);
}

void FormNote::applyColor() {
  QPalette colored = palette();
  const QColor color = (Colors(colored).*color_)();
  if (colored.color(QPalette::WindowText) == color) return;
  // Only this role, so that the others go on following the window's.
  QPalette own;
  own.setColor(QPalette::WindowText, color);
  setPalette(own);
}

}  // namespace stowboard
