#pragma once

#include <QAbstractButton>
#include <QPainter>

#include "UI/Looks/Colors.h"
#include "UI/Looks/Icons.h"

namespace stowboard {

/// A symbol in a colour that follows the palette. Main thread.
class SymbolView : public QWidget {
 public:
  /// `size` is its width and height.
  SymbolView(Symbol symbol, int size, Colors::Getter color) : symbol_(symbol), color_(color) {
    setFixedSize(size, size);
  }

  void show(Symbol symbol, Colors::Getter color) {
    symbol_ = symbol;
    color_ = color;
    update();
  }

 protected:
  void paintEvent(QPaintEvent* /*event*/) override {
    QPainter painter(this);
    Icons::paint(painter, rect(), symbol_, width(), (Colors(palette()).*color_)());
  }

 private:
  Symbol symbol_;
  Colors::Getter color_;
};

/// A button that is a symbol in the secondary colour and nothing else. The mouse does not give it
/// the focus. Main thread.
class SymbolButton : public QAbstractButton {
 public:
  static constexpr int symbolSize = 16;

  SymbolButton(Symbol symbol, QWidget* parent) : QAbstractButton(parent), symbol_(symbol) {
    setFocusPolicy(Qt::NoFocus);
    setCursor(Qt::ArrowCursor);
  }

  QSize sizeHint() const override { return {symbolSize, symbolSize}; }

 protected:
  void paintEvent(QPaintEvent* /*event*/) override {
    const Colors colors(palette());
    QPainter painter(this);
    Icons::paint(painter, rect(), symbol_, symbolSize,
                 isDown() ? colors.primary() : colors.secondary());
  }

 private:
  const Symbol symbol_;
};

}  // namespace stowboard
