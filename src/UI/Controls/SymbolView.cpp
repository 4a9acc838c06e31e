#include "UI/Controls/SymbolView.h"

#include <QPainter>

namespace stowboard {

SymbolView::SymbolView(Symbol symbol, int size, Colors::Getter color)
    : symbol_(symbol), color_(color) {
  setFixedSize(size, size);
}

void SymbolView::show(Symbol symbol, Colors::Getter color) {
  symbol_ = symbol;
  color_ = color;
  update();
}

void SymbolView::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  Icons::paint(painter, rect(), symbol_, width(), (Colors(palette()).*color_)());
}

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
