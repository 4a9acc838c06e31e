#include "UI/Controls/PopoverWindow.h"

#include <QAccessibleWidget>
#include <QBackingStore>
#include <QEvent>
#include <QGuiApplication>
#include <QPainter>
#include <QScreen>
#include <QWindow>
#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "UI/Controls/ScreenDensity.h"
#include "UI/Looks/Colors.h"

namespace stowboard {

namespace {

constexpr int edge = 1;
constexpr int distanceToAnchor = 4;
constexpr qreal cornerRadius = 10;
// The shadow falls off like a bell curve of this deviation, and lies a little lower than the panel.
constexpr qreal blur = 9;
constexpr qreal drop = 4;
constexpr int shadowWidth = 28;
constexpr qreal shadowStrength = 0.38;

// How much of a bell curve lies on the panel's stretch of one axis, seen from each pixel's middle.
std::vector<qreal> shadowProfile(int pixels, qreal start, qreal length, qreal ratio) {
  std::vector<qreal> profile;
  const auto below = [](qreal at) { return std::erf(at / (blur * std::sqrt(2.0))); };
  for (int pixel = 0; pixel < pixels; ++pixel) {
    const qreal at = (pixel + 0.5) / ratio - start;
    profile.push_back((below(at) - below(at - length)) / 2);
  }
  return profile;
}

// A blurred rectangle is the product of its two axes; at this blur round corners look the same.
QImage blurredRectangle(const QSize& size, const QRectF& rect, qreal ratio) {
  QImage image(size * ratio, QImage::Format_ARGB32_Premultiplied);
  image.setDevicePixelRatio(ratio);
  const auto across = shadowProfile(image.width(), rect.left(), rect.width(), ratio);
  const auto down = shadowProfile(image.height(), rect.top(), rect.height(), ratio);
  for (int y = 0; y < image.height(); ++y) {
    auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
    const qreal strength = 255 * shadowStrength * down[static_cast<std::size_t>(y)];
    std::transform(across.begin(), across.end(), line,
                   [strength](qreal share) { return qRgba(0, 0, 0, qRound(strength * share)); });
  }
  return image;
}

// At a scale that is no whole number, the nearest whole pixels of the screen.
QRectF onPixels(const QRect& rect, qreal ratio) {
  const auto nearest = [ratio](int at) { return std::round(at * ratio) / ratio; };
  return {QPointF(nearest(rect.left()), nearest(rect.top())),
          QPointF(nearest(rect.right() + 1), nearest(rect.bottom() + 1))};
}

// Moved as little as need be; at the left and at the top where it does not fit.
QRect inside(QRect rect, const QRect& available) {
  const auto start = [](int wanted, int length, int from, int to) {
    return std::max(from, std::min(wanted, to + 1 - length));
  };
  rect.moveLeft(start(rect.left(), rect.width(), available.left(), available.right()));
  rect.moveTop(start(rect.top(), rect.height(), available.top(), available.bottom()));
  return rect;
}

void fill(QPainter& painter, const QRectF& rect, qreal radius, const QColor& color) {
  painter.setPen(Qt::NoPen);
  painter.setBrush(color);
  painter.drawRoundedRect(rect, radius, radius);
}

// The toolkit tells screen readers of a plain widget as of a space between others.
class AccessibleWindow final : public QAccessibleWidget {
 public:
  explicit AccessibleWindow(QWidget* window) : QAccessibleWidget(window, QAccessible::Window) {}

  static QAccessibleInterface* of(const QString& /*className*/, QObject* object) {
    auto* window = dynamic_cast<PopoverWindow*>(object);
    return window == nullptr ? nullptr : std::make_unique<AccessibleWindow>(window).release();
  }
};

}  // namespace

PopoverWindow::PopoverWindow(std::unique_ptr<QWidget> content)
    : QWidget(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint),
      content_(content.release()) {
  QAccessible::installFactory(AccessibleWindow::of);
  content_->setParent(this);
  // Always able to be translucent: a native window cannot become so later.
  setAttribute(Qt::WA_TranslucentBackground);
  setShadowed(false);
  whenDensityChanges(this, [this] { fitDensity(); });
}

QSize PopoverWindow::panelSize() const { return content_->size() + 2 * QSize(edge, edge); }

int PopoverWindow::shadowMargin() const {
  return isShadowed_ ? qRound(shadowWidth * devicePixelRatioF()) : 0;
}

QRect PopoverWindow::panelRect() const {
  const int margin = isShadowed_ ? shadowWidth : 0;
  return {QPoint(margin, margin), panelSize()};
}

void PopoverWindow::prepare(bool isCompositing) {
  setShadowed(isCompositing);
  if (windowHandle() == nullptr) {
    winId();
    windowHandle()->installEventFilter(this);
  }
  if (isShadowed_) drawShadow();
}

void PopoverWindow::setShadowed(bool isShadowed) {
  if (std::exchange(isShadowed_, isShadowed) == isShadowed) return;
  const QRect panel = panelRect();
  const QPoint place = panel.topLeft() + QPoint(edge, edge);
  move(pos() + content_->pos() - place);
  content_->move(place);
  setFixedSize(panel.right() + 1 + panel.left(), panel.bottom() + 1 + panel.top());
}

void PopoverWindow::drawShadow() {
  if (!shadow_.isNull() && shadow_.devicePixelRatio() == devicePixelRatioF()) return;
  const QRectF cast = QRectF(panelRect()).translated(0, drop);
  shadow_ = QPixmap::fromImage(blurredRectangle(size(), cast, devicePixelRatioF()));
}

QRect PopoverWindow::placed(const QSize& panel, const QRect& anchor, const QRect& available) {
  QRect rect(QPoint(), panel);
  rect.moveCenter(anchor.center());
  rect.moveTop(anchor.bottom() + 1 + distanceToAnchor);
  if (rect.bottom() > available.bottom()) rect.moveBottom(anchor.top() - 1 - distanceToAnchor);
  return inside(rect, available);
}

void PopoverWindow::placeBy(const QRect& anchor) {
  QScreen* screen = QGuiApplication::screenAt(anchor.center());
  if (screen == nullptr) screen = QGuiApplication::primaryScreen();
  setScreen(screen);
  const QRect panel = placed(panelSize(), anchor, screen->availableGeometry());
  move(panel.topLeft() - panelRect().topLeft());
}

// The hidden one is fitted as it is shown.
void PopoverWindow::fitDensity() {
  if (!isVisible()) return;
  // The window manager holds it to a size in pixels, which is announced at a change only.
  windowHandle()->setMaximumSize(size() + QSize(1, 1));
  windowHandle()->setMaximumSize(size());
  windowHandle()->resize(size());
  backingStore()->resize(size());
  const QPoint corner = panelRect().topLeft();
  move(inside(QRect(pos() + corner, panelSize()), screen()->availableGeometry()).topLeft() -
       corner);
  if (onDidChangeDensity) onDidChangeDensity();
  update();
}

bool PopoverWindow::event(QEvent* event) {
  const bool isHandled = QWidget::event(event);
  const auto type = event->type();
  if (type == QEvent::Show) isAppearing_ = true;
  if (type == QEvent::WindowDeactivate && onDidResignActive) onDidResignActive();
  if (type == QEvent::Hide && onDidClose) onDidClose();
  return isHandled;
}

bool PopoverWindow::eventFilter(QObject* watched, QEvent* event) {
  const bool isOnScreen = event->type() == QEvent::Expose && windowHandle()->isExposed();
  if (isOnScreen && std::exchange(isAppearing_, false) && onDidAppear) onDidAppear();
  return QWidget::eventFilter(watched, event);
}

void PopoverWindow::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  if (isShadowed_) {
    // The monitor it has been moved to may have another scale.
    drawShadow();
    painter.drawPixmap(0, 0, shadow_);
    painter.setRenderHint(QPainter::Antialiasing);
  }
  const Colors colors(palette());
  const qreal ratio = devicePixelRatioF();
  const qreal radius = isShadowed_ ? cornerRadius : 0;
  const qreal line = std::max(1.0, std::floor(ratio)) / ratio;
  const QRectF outer = onPixels(panelRect(), ratio);
  const QRectF inner = outer.adjusted(line, line, -line, -line);
  // Without a shadow the edge alone sets the panel off.
  fill(painter, outer, radius, isShadowed_ ? colors.separator() : colors.secondary());
  fill(painter, inner, radius - line, palette().color(QPalette::Window));
}

}  // namespace stowboard
