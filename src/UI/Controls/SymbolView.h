#pragma once

#include <QAbstractButton>

#include "UI/Looks/Colors.h"
#include "UI/Looks/Icons.h"

namespace stowboard {

/// A symbol in a colour that follows the palette. Main thread.
class SymbolView : public QWidget {
 public:
  /// `size` is its width and height.
  SymbolView(Symbol symbol, int size, Colors::Getter color);

  void show(Symbol symbol, Colors::Getter color);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  Symbol symbol_;
  Colors::Getter color_;
};

/// A button that is a symbol in the secondary colour and nothing else. The mouse does not give it
/// the focus. Main thread.
class SymbolButton : public QAbstractButton {
 public:
  static constexpr int symbolSize = 16;

  SymbolButton(Symbol symbol, QWidget* parent);

  QSize sizeHint() const override { return {symbolSize, symbolSize}; }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  const Symbol symbol_;
};

}  // namespace stowboard
