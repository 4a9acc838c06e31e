#include "Platform/Desktop/Tray/PanelStatusItem.h"

#include <QCursor>
#include <QDBusConnection>
#include <QGuiApplication>
#include <QScreen>
#include <utility>

#include "Base/SignalFreeThread.h"
#include "Platform/Desktop/Tray/StatusNotifierHost.h"
#include "Platform/Desktop/Tray/StatusNotifierItem.h"
#include "Platform/Desktop/Tray/ToolkitMenu.h"

namespace stowboard {

namespace {

// Screens keep their corner in pixels and their size in units of their own ratio.
StatusItem::Rectangle squareAt(const QPoint& pixel) {
  if (pixel.isNull()) return {};
  for (const QScreen* screen : QGuiApplication::screens()) {
    const QPoint corner = screen->geometry().topLeft();
    const QPoint place = corner + (pixel - corner) / screen->devicePixelRatio();
    if (screen->geometry().contains(place)) return {place.x(), place.y(), 1, 1};
  }
  return {};
}

}  // namespace

PanelStatusItem::PanelStatusItem(std::unique_ptr<StatusItem> otherwise)
    : otherwise_(std::move(otherwise)) {}

PanelStatusItem::~PanelStatusItem() { hide(); }

// Making the connection waits for the bus.
void PanelStatusItem::show(Content content) {
  if (context_) return;
  content_ = std::move(content);
  context_ = std::make_unique<QObject>();
  connecting_ = startSignalFreeThread("status-item", [this] {
    QDBusConnection::sessionBus();
    QMetaObject::invokeMethod(
        context_.get(), [this] { lookForHost(); }, Qt::QueuedConnection);
  });
}

void PanelStatusItem::hide() {
  if (connecting_.joinable()) connecting_.join();
  context_.reset();
  host_.reset();
  item_.reset();
  otherwise_->hide();
}

void PanelStatusItem::menuDidChange() {
  if (item_) item_->menuDidChange();
  otherwise_->menuDidChange();
}

void PanelStatusItem::lookForHost() {
  const QDBusConnection connection = QDBusConnection::sessionBus();
  item_ = std::make_unique<StatusNotifierItem>(content_.icon, content_.menu);
  item_->onActivate = [this](const QPoint& hint) { content_.onActivate(squareAt(hint)); };
  item_->onContextMenu = [this] { popUpMenu(); };
  if (connection.isConnected()) item_->registerWithMenuOn(connection);
  host_ = std::make_unique<StatusNotifierHost>(connection,
                                               [this](bool isPresent) { place(isPresent); });
  host_->look();
}

void PanelStatusItem::place(bool inStatusNotifierHost) {
  inStatusNotifierHost ? otherwise_->hide() : otherwise_->show(content_);
}

void PanelStatusItem::popUpMenu() {
  if (!menu_) menu_ = std::make_unique<ToolkitMenu>(content_.menu);
  menu_->popup(QCursor::pos());
}

}  // namespace stowboard
