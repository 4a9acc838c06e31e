#include "UI/Controls/Switch.h"

#include <QPainter>

#include "UI/Looks/Colors.h"

namespace stowboard {

namespace {

constexpr QSize naturalSize(38, 22);
constexpr qreal knobInset = 2.5;

QColor trackColor(const QPalette& palette, bool isOn) {
  if (isOn) return palette.color(QPalette::Highlight);
  QColor off = palette.color(QPalette::Text);
  off.setAlphaF(0.22F);
  return off;
}

// The focus is told by the outline, so that it shows on either colour of the track.
QPen outline(const QPalette& palette, bool hasFocus) {
  const Colors colors(palette);
  if (hasFocus) return {colors.primary(), 2};
  return colors.isHighContrast() ? QPen(colors.primary(), 1) : QPen(Qt::NoPen);
}

}  // namespace

Switch::Switch() { setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed); }

QSize Switch::sizeHint() const { return naturalSize; }

void Switch::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const QPen pen = outline(palette(), hasFocus());
  const qreal inset = pen.style() == Qt::NoPen ? 0 : pen.widthF() / 2;
  const QRectF track = QRectF(rect()).adjusted(inset, inset, -inset, -inset);
  painter.setPen(pen);
  painter.setBrush(trackColor(palette(), isChecked()));
  painter.drawRoundedRect(track, track.height() / 2, track.height() / 2);

  const qreal diameter = height() - 2 * knobInset;
  const bool isAtRight = isChecked() == (layoutDirection() == Qt::LeftToRight);
  const qreal left = isAtRight ? width() - knobInset - diameter : knobInset;
  painter.setPen(QPen(QColor(0, 0, 0, 40), 0.5));
  painter.setBrush(Qt::white);
  painter.drawEllipse(QRectF(left, knobInset, diameter, diameter));
}

}  // namespace stowboard
