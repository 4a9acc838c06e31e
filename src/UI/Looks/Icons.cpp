#include "UI/Looks/Icons.h"

#include <QHash>
#include <QIcon>
#include <QPainter>
#include <QSvgRenderer>
#include <algorithm>
#include <array>
#include <cmath>

namespace stowboard {

namespace {

struct Names {
  /// In icon themes (the Icon Naming standard, with the suffix for one-colour drawings).
  const char* theme;
  /// Of our own drawing.
  const char* own;
};

// In the order of Symbol.
constexpr std::array<Names, 8> names{{
    {"edit-find-symbolic", "magnifyingglass"},
    {"edit-clear-symbolic", "clearfield"},
    {"edit-paste-symbolic", "clipboard"},
    {"text-x-generic-symbolic", "plaintext"},
    {"x-office-document-symbolic", "richtext"},
    {"image-x-generic-symbolic", "photo"},
    {"emblem-ok-symbolic", "checkmark"},
    {"dialog-warning-symbolic", "warning"},
}};

bool isEmpty(const QImage& mask) {
  for (int y = 0; y < mask.height(); ++y) {
    const auto* row = reinterpret_cast<const QRgb*>(mask.constScanLine(y));
    if (std::any_of(row, row + mask.width(), [](QRgb pixel) { return qAlpha(pixel) > 0; }))
      return false;
  }
  return true;
}

// Empty when the theme has no such symbol that can be drawn.
QImage themeMask(const QString& name, int pixels) {
  const QIcon icon = QIcon::fromTheme(name);
  // For a missing name the theme may give a shorter one's icon, which is in full colour.
  if (icon.isNull() || icon.name() != name) return {};
  QImage mask = emptySquare(pixels);
  QPainter painter(&mask);
  icon.paint(&painter, mask.rect());
  painter.end();
  return isEmpty(mask) ? QImage() : mask;
}

QImage ownMask(const char* name, int pixels) {
  QImage mask = emptySquare(pixels);
  QPainter painter(&mask);
  QSvgRenderer(QStringLiteral(":/icons/%1.svg").arg(QLatin1String(name)))
      .render(&painter, QRectF(mask.rect()));
  return mask;
}

QImage tinted(QImage mask, const QColor& color, qreal devicePixelRatio) {
  QPainter painter(&mask);
  painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
  painter.fillRect(mask.rect(), color);
  painter.end();
  mask.setDevicePixelRatio(devicePixelRatio);
  return mask;
}

QImage drawn(Symbol symbol, int pixels, const QColor& color, qreal devicePixelRatio) {
  const auto [theme, own] = names[static_cast<std::size_t>(symbol)];
  QImage mask = themeMask(QLatin1String(theme), pixels);
  if (mask.isNull()) mask = ownMask(own, pixels);
  return tinted(std::move(mask), color, devicePixelRatio);
}

}  // namespace

QImage emptySquare(int pixels) {
  QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
  image.fill(Qt::transparent);
  return image;
}

QPixmap Icons::pixmap(Symbol symbol, int size, const QColor& color, qreal devicePixelRatio) {
  const int pixels = std::max(1, static_cast<int>(std::lround(size * devicePixelRatio)));
  const QString key = QStringLiteral("symbol %1 %2 %3 %4 %5")
                          .arg(static_cast<int>(symbol))
                          .arg(pixels)
                          .arg(devicePixelRatio)
                          .arg(color.rgba(), 0, 16)
                          .arg(QIcon::themeName());
  // Not the toolkit's cache, whose timer wakes an idle program. A drawing is a few hundred bytes.
  constexpr qsizetype mostDrawings = 128;
  static QHash<QString, QImage> drawings;
  if (drawings.size() > mostDrawings) drawings.clear();
  auto found = drawings.find(key);
  if (found == drawings.end()) {
    found = drawings.insert(key, drawn(symbol, pixels, color, devicePixelRatio));
  }
  return QPixmap::fromImage(*found);
}

void Icons::paint(QPainter& painter, const QRectF& rect, Symbol symbol, int size,
                  const QColor& color) {
  const qreal ratio = painter.device()->devicePixelRatioF();
  // On a whole pixel of the device, so that the drawing is not smeared.
  const auto snapped = [&](qreal place) { return std::round(place * ratio) / ratio; };
  const QPointF corner(snapped(rect.center().x() - size / 2.0),
                       snapped(rect.center().y() - size / 2.0));
  painter.drawPixmap(corner, pixmap(symbol, size, color, ratio));
}

}  // namespace stowboard
