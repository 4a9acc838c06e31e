#include "Platform/Desktop/Bus/BusNotifier.h"

#include <poll.h>
#include <systemd/sd-bus.h>

#include <QObject>
#include <utility>

namespace stowboard {

BusNotifier::BusNotifier(sd_bus* bus, std::function<void(int)> onBroken)
    : bus_(bus),
      onBroken_(std::move(onBroken)),
      readable_(sd_bus_get_fd(bus), QSocketNotifier::Read),
      writable_(sd_bus_get_fd(bus), QSocketNotifier::Write) {
  for (auto* each : {&readable_, &writable_}) {
    QObject::connect(each, &QSocketNotifier::activated, each, [this] { process(); });
  }
}

void BusNotifier::process() {
  int status = 1;
  while (status > 0) status = sd_bus_process(bus_, nullptr);
  const int events = status < 0 ? status : sd_bus_get_events(bus_);
  readable_.setEnabled(events >= 0);
  writable_.setEnabled(events >= 0 && (events & POLLOUT) != 0);
  if (events < 0 && onBroken_) onBroken_(events);
}

}  // namespace stowboard
