#include "Platform/Desktop/Tray/PanelStatusItem.h"

#include <QDBusConnection>
#include <utility>

#include "Base/SignalFreeThread.h"
#include "Platform/Desktop/Tray/StatusNotifierHost.h"
#include "Platform/Desktop/Tray/StatusNotifierItem.h"

namespace stowboard {

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
  item_ = std::make_unique<StatusNotifierItem>(content_, connection);
  host_ = std::make_unique<StatusNotifierHost>(connection, [this](bool isPresent) {
    isPresent ? otherwise_->hide() : otherwise_->show(content_);
  });
  host_->look();
}

}  // namespace stowboard
