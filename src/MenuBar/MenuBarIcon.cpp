#include "MenuBar/MenuBarIcon.h"

#include <QGuiApplication>
#include <QPainter>
#include <QPalette>

#include "UI/Looks/Icons.h"

namespace stowboard {

namespace {

constexpr int trayIconSize = 22;

bool canBeDrawn(const QIcon& icon) { return !icon.pixmap(trayIconSize).isNull(); }

QPixmap letters() {
  constexpr int size = 2 * trayIconSize;
  QPixmap pixmap(size, size);
  pixmap.fill(Qt::transparent);
  QPainter painter(&pixmap);
  QFont font;
  font.setPixelSize(size * 2 / 3);
  font.setBold(true);
  painter.setFont(font);
  painter.setPen(QGuiApplication::palette().color(QPalette::WindowText));
  painter.drawText(pixmap.rect(), Qt::AlignCenter, QStringLiteral("SB"));
  return pixmap;
}

}  // namespace

QIcon menuBarIcon() {
  if (const QIcon own(QStringLiteral(":/icons/MenuBarIcon.svg")); canBeDrawn(own)) return own;
  const QColor color = QGuiApplication::palette().color(QPalette::WindowText);
  const QIcon symbol(Icons::pixmap(Symbol::clipboard, trayIconSize, color, 2));
  return canBeDrawn(symbol) ? symbol : QIcon(letters());
}

QIcon applicationIcon() { return QIcon(QStringLiteral(":/icons/com.qarvin.stowboard.svg")); }

}  // namespace stowboard
