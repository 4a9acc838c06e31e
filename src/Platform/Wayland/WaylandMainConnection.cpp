#include "Platform/Wayland/WaylandMainConnection.h"

#include <QObject>
#include <QSocketNotifier>
#include <utility>

#include "Base/Log.h"

namespace stowboard {

std::shared_ptr<WaylandMainConnection> WaylandMainConnection::open() {
  auto connection = WaylandConnection::open("");
  if (!connection) return nullptr;
  return std::shared_ptr<WaylandMainConnection>(new WaylandMainConnection(std::move(connection)));
}

WaylandMainConnection::WaylandMainConnection(std::unique_ptr<WaylandConnection> connection)
    : connection_(std::move(connection)),
      notifier_(
          std::make_unique<QSocketNotifier>(connection_->fileDescriptor(), QSocketNotifier::Read)) {
  QObject::connect(notifier_.get(), &QSocketNotifier::activated, [this] { handleEvents(); });
}

WaylandMainConnection::~WaylandMainConnection() = default;

void WaylandMainConnection::handleEvents() {
  connection_->dispatch();
  connection_->flush();
  if (!connection_->isBroken()) return;
  notifier_->setEnabled(false);
  Log::app.error(
      "The connection to the compositor broke; the application in front is unknown, and nothing "
      "can "
      "be pasted directly");
}

}  // namespace stowboard
