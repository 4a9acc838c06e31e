#pragma once

#include <QCheckBox>

namespace stowboard {

/// A check box that looks like a switch; its name is the label whose buddy it is. Main thread.
class Switch : public QCheckBox {
 public:
  Switch();

  QSize sizeHint() const override;
  QSize minimumSizeHint() const override { return sizeHint(); }

 protected:
  void paintEvent(QPaintEvent* event) override;
  bool hitButton(const QPoint& position) const override { return rect().contains(position); }
};

}  // namespace stowboard
