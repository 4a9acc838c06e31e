#include "UI/Looks/HighContrastFrame.h"

#include <QPainter>
#include <QWidget>

#include "UI/Looks/Colors.h"

namespace stowboard {

void paintHighContrastFrame(QWidget& control) {
  const Colors colors(control.palette());
  if (control.hasFocus() || !colors.isHighContrast()) return;
  QPainter painter(&control);
  painter.setPen(colors.separator());
  painter.drawRect(control.rect().adjusted(0, 0, -1, -1));
}

}  // namespace stowboard
