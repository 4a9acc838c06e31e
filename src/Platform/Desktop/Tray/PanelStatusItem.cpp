#include "Platform/Desktop/Tray/PanelStatusItem.h"

#include <QDBusConnection>
#include <algorithm>
#include <utility>

#include "Base/SignalFreeThread.h"
#include "Base/Survive.h"
#include "Platform/Desktop/Tray/StatusNotifierHost.h"
#include "Platform/Desktop/Tray/StatusNotifierItem.h"

namespace stowboard {

namespace {

constexpr std::chrono::milliseconds shortestPatience(500);
constexpr std::chrono::milliseconds longestPatience(60'000);

}  // namespace

PanelStatusItem::PanelStatusItem(std::unique_ptr<StatusItem> otherwise)
    : otherwise_(std::move(otherwise)) {}

PanelStatusItem::~PanelStatusItem() { hide(); }

void PanelStatusItem::show(Content content) {
  if (retry_) return;
  content_ = std::move(content);
  patience_ = shortestPatience;
  retry_ = std::make_unique<QTimer>();
  retry_->setSingleShot(true);
  QObject::connect(retry_.get(), &QTimer::timeout, retry_.get(), [this] { connectAgain(); });
  connect();
}

// Making the connection waits for the bus.
void PanelStatusItem::connect() {
  static int count = 0;
  connection_ = QStringLiteral("status-item-%1").arg(++count);
  const bool isConnecting = survives(Log::app, "the status item", [this] {
    connecting_ = startSignalFreeThread("status-item", [this] {
      QDBusConnection::connectToBus(QDBusConnection::SessionBus, connection_);
      QMetaObject::invokeMethod(retry_.get(), [this] { didConnect(); }, Qt::QueuedConnection);
    });
  });
  if (!isConnecting) retry_->start(patience_);
}

void PanelStatusItem::hide() {
  if (connecting_.joinable()) connecting_.join();
  retry_.reset();
  host_.reset();
  item_.reset();
  QDBusConnection::disconnectFromBus(connection_);
  otherwise_->hide();
}

void PanelStatusItem::menuDidChange() {
  if (item_) item_->menuDidChange();
  otherwise_->menuDidChange();
}

void PanelStatusItem::didConnect() {
  QDBusConnection connection(connection_);
  const bool isConnected = connection.isConnected();
  patience_ = isConnected ? shortestPatience : std::min(2 * patience_, longestPatience);
  retry_->setInterval(patience_);
  // The toolkit's own signal. Only a slot can receive it.
  connection.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                     QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"),
                     retry_.get(), SLOT(start()));
  item_ = std::make_unique<StatusNotifierItem>(content_, connection);
  host_ = std::make_unique<StatusNotifierHost>(connection, [this](bool isPresent) {
    isPresent ? otherwise_->hide() : otherwise_->show(content_);
  });
  host_->look();
  if (isConnected) {
    hasBus_ = true;
  } else if (hasBus_) {
    retry_->start();
  }
}

void PanelStatusItem::connectAgain() {
  if (connecting_.joinable()) connecting_.join();
  host_.reset();
  item_.reset();
  QDBusConnection::disconnectFromBus(connection_);
  connect();
}

}  // namespace stowboard
