#pragma once

#include <QAbstractButton>

#include "UI/Looks/Icons.h"

namespace stowboard {

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
