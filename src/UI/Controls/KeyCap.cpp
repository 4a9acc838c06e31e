#include "UI/Controls/KeyCap.h"

#include <QFontDatabase>
#include <QPainter>

#include "UI/Looks/Colors.h"

namespace stowboard {

KeyCap::KeyCap() {
  QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
  font.setPixelSize(13);
  font.setWeight(QFont::DemiBold);
  setFont(font);
  setContentsMargins(8, 3, 8, 3);
  setTextFormat(Qt::PlainText);
  setWordWrap(true);
}

// On one line; the toolkit would rather break it.
QSize KeyCap::sizeHint() const {
  const QSize line = fontMetrics().size(Qt::TextSingleLine, text());
  return line.grownBy(contentsMargins());
}

void KeyCap::paintEvent(QPaintEvent* event) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const Colors colors(palette());
  painter.setPen(QPen(colors.separator(), 1));
  painter.setBrush(colors.controlBackground());
  painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 5, 5);
  painter.end();
  QLabel::paintEvent(event);
}

}  // namespace stowboard
