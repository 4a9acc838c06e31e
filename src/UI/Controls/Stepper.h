#pragma once

#include <QBasicTimer>
#include <QSpinBox>
#include <cstdint>
#include <functional>

namespace stowboard {

/// Two arrows that step a number which is shown elsewhere. Stepping stays in the range, and brings
/// a number from outside to the range's nearer end. To a screen reader it is a spin box. The mouse
/// wheel steps only while it has the focus, and otherwise scrolls what it stands on. Main thread.
class Stepper : public QSpinBox {
 public:
  Stepper(int minimum, int maximum, int step);

  /// The number to step from; may be outside the range.
  void setNumber(std::int64_t number);

  /// The user asked for another number.
  std::function<void(std::int64_t number)> onStep;

  QSize sizeHint() const override;
  QSize minimumSizeHint() const override { return sizeHint(); }
  /// Positive upwards.
  void stepBy(int steps) override;

 protected:
  StepEnabled stepEnabled() const override;
  void paintEvent(QPaintEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void timerEvent(QTimerEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;

 private:
  std::int64_t stepped(int direction) const;
  QRect half(int direction) const;
  void drawHalf(QPainter& painter, int direction) const;

  std::int64_t number_ = 0;
  /// 1 or -1 while the mouse holds an arrow.
  int pressed_ = 0;
  QBasicTimer repeat_;
};

}  // namespace stowboard
