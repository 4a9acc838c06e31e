#include "MenuBar/MenuBarIcon.h"

#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPalette>
#include <QSvgRenderer>
#include <algorithm>

#include "UI/Looks/Icons.h"

namespace stowboard {

namespace {

// Not by way of QIcon: its SVG engine keeps a timer and idle threads for half a minute.
QImage drawing(const QString& file, int size) {
  QSvgRenderer renderer(file);
  if (!renderer.isValid()) return {};
  QImage image = emptySquare(size);
  QPainter painter(&image);
  // In strips so low that the toolkit does not spread a gradient's lines over threads.
  constexpr int stripHeight = 8;
  for (int y = 0; y < size; y += stripHeight) {
    painter.setClipRect(0, y, size, stripHeight);
    renderer.render(&painter, QRectF(image.rect()));
  }
  return image;
}

/// Draws the application's icon each time that a size of it is asked for, once a window: what the
/// toolkit's own engines draw goes into its cache, whose timer wakes the idle program.
class ApplicationIconEngine final : public QIconEngine {
 public:
  void paint(QPainter* painter, const QRect& rect, QIcon::Mode, QIcon::State) override {
    painter->drawImage(rect, draw(std::max(rect.width(), rect.height())));
  }
  QPixmap pixmap(const QSize& size, QIcon::Mode, QIcon::State) override {
    return QPixmap::fromImage(draw(std::min(size.width(), size.height())));
  }
  QList<QSize> availableSizes(QIcon::Mode, QIcon::State) override {
    return {{16, 16}, {24, 24}, {32, 32}, {48, 48}, {64, 64}};
  }
  QIconEngine* clone() const override { return new ApplicationIconEngine; }

 private:
  static QImage draw(int size) {
    return drawing(QStringLiteral(":/icons/com.qarvin.stowboard.svg"), size);
  }
};

QImage letters(int size) {
  QImage image = emptySquare(size);
  QPainter painter(&image);
  QFont font;
  font.setPixelSize(size * 2 / 3);
  font.setBold(true);
  painter.setFont(font);
  painter.setPen(QGuiApplication::palette().color(QPalette::WindowText));
  painter.drawText(image.rect(), Qt::AlignCenter, QStringLiteral("SB"));
  return image;
}

}  // namespace

QImage menuBarIcon(int size) {
  QImage image = drawing(QStringLiteral(":/icons/MenuBarIcon.svg"), size);
  if (!image.isNull()) return image;
  const QColor color = QGuiApplication::palette().color(QPalette::WindowText);
  image = Icons::pixmap(Symbol::clipboard, size, color, 1).toImage();
  return image.isNull() ? letters(size) : image;
}

QIcon applicationIcon() { return QIcon(new ApplicationIconEngine); }

}  // namespace stowboard
