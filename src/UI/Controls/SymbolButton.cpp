#include "UI/Controls/SymbolButton.h"

#include <QPainter>

#include "UI/Looks/Colors.h"

namespace stowboard {

SymbolButton::SymbolButton(Symbol symbol, QWidget* parent)
    : QAbstractButton(parent), symbol_(symbol) {
  setFocusPolicy(Qt::NoFocus);
  setCursor(Qt::ArrowCursor);
}

void SymbolButton::paintEvent(QPaintEvent* /*event*/) {
  const Colors colors(palette());
  QPainter painter(this);
  Icons::paint(painter, rect(), symbol_, symbolSize,
               isDown() ? colors.primary() : colors.secondary());
}

}  // namespace stowboard
