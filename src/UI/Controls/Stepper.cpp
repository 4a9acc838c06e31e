#include "UI/Controls/Stepper.h"

#include <QLineEdit>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QSignalBlocker>
#include <QTimerEvent>
#include <algorithm>

#include "UI/Looks/Colors.h"

namespace stowboard {

namespace {

constexpr int naturalWidth = 20;
constexpr int upwards = 1;
constexpr int downwards = -1;
constexpr int firstRepeat = 400;  // milliseconds
constexpr int nextRepeats = 80;

QPainterPath chevron(const QPointF& centre, int direction) {
  const qreal tip = -1.75 * direction;
  QPainterPath path(centre + QPointF(-3.5, -tip));
  path.lineTo(centre + QPointF(0, tip));
  path.lineTo(centre + QPointF(3.5, -tip));
  return path;
}

}  // namespace

Stepper::Stepper(int minimum, int maximum, int step) {
  setRange(minimum, maximum);
  setSingleStep(step);
  setFocusPolicy(Qt::StrongFocus);
  setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
  setAttribute(Qt::WA_InputMethodEnabled, false);
  setContextMenuPolicy(Qt::NoContextMenu);
  lineEdit()->hide();
  // By way of an assistive technology.
  connect(this, &QSpinBox::valueChanged, this, [this](int value) {
    if (onStep) onStep(value);
  });
}

// As high as the field that it stands beside.
QSize Stepper::sizeHint() const { return {naturalWidth, QSpinBox::sizeHint().height()}; }

void Stepper::setNumber(std::int64_t number) {
  number_ = number;
  const QSignalBlocker silent(this);
  setValue(static_cast<int>(std::clamp<std::int64_t>(number, minimum(), maximum())));
  update();
}

std::int64_t Stepper::stepped(int direction) const {
  if (number_ > maximum()) return direction == downwards ? maximum() : number_;
  if (number_ < minimum()) return direction == upwards ? minimum() : number_;
  return std::clamp<std::int64_t>(number_ + direction * singleStep(), minimum(), maximum());
}

// Also a page up or down is one step.
void Stepper::stepBy(int steps) {
  const std::int64_t number = stepped(steps > 0 ? upwards : downwards);
  if (number != number_ && onStep) onStep(number);
}

QAbstractSpinBox::StepEnabled Stepper::stepEnabled() const {
  StepEnabled enabled = StepNone;
  if (stepped(upwards) != number_) enabled |= StepUpEnabled;
  if (stepped(downwards) != number_) enabled |= StepDownEnabled;
  return enabled;
}

QRect Stepper::half(int direction) const {
  const int middle = height() / 2;
  return direction == upwards ? QRect(0, 0, width(), middle)
                              : QRect(0, middle, width(), height() - middle);
}

void Stepper::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const QColor line = Colors(palette()).separator();
  painter.setPen(hasFocus() ? QPen(palette().color(QPalette::Highlight), 1.5) : QPen(line, 1));
  painter.setBrush(palette().color(QPalette::Button));
  painter.drawRoundedRect(QRectF(rect()).adjusted(0.75, 0.75, -0.75, -0.75), 5, 5);
  painter.fillRect(QRectF(4, height() / 2.0 - 0.5, width() - 8, 1), line);
  drawHalf(painter, upwards);
  drawHalf(painter, downwards);
}

void Stepper::drawHalf(QPainter& painter, int direction) const {
  const auto flag = direction == upwards ? StepUpEnabled : StepDownEnabled;
  QColor color = palette().color(QPalette::ButtonText);
  if (!(stepEnabled() & flag)) color.setAlphaF(0.35F);
  if (pressed_ == direction) color = palette().color(QPalette::Highlight);
  painter.setPen(QPen(color, 1.6, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  painter.setBrush(Qt::NoBrush);
  painter.drawPath(chevron(QRectF(half(direction)).center(), direction));
}

// What would edit the number as text belongs to the field beside it.
void Stepper::keyPressEvent(QKeyEvent* event) {
  switch (event->key()) {
    case Qt::Key_Up:
    case Qt::Key_PageUp:
      return stepBy(upwards);
    case Qt::Key_Down:
    case Qt::Key_PageDown:
      return stepBy(downwards);
    default:
      event->ignore();
  }
}

void Stepper::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return event->ignore();
  pressed_ = half(upwards).contains(event->position().toPoint()) ? upwards : downwards;
  stepBy(pressed_);
  repeat_.start(firstRepeat, this);
  update();
}

void Stepper::mouseMoveEvent(QMouseEvent*) {}

void Stepper::mouseReleaseEvent(QMouseEvent*) {
  repeat_.stop();
  pressed_ = 0;
  update();
}

void Stepper::timerEvent(QTimerEvent* event) {
  if (event->timerId() != repeat_.timerId()) return QSpinBox::timerEvent(event);
  if (!isVisible()) return repeat_.stop();
  stepBy(pressed_);
  repeat_.start(nextRepeats, this);
}

void Stepper::wheelEvent(QWheelEvent* event) {
  if (!hasFocus()) return event->ignore();
  QSpinBox::wheelEvent(event);
}

}  // namespace stowboard
