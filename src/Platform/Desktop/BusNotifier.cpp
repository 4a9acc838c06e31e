#include "Platform/Desktop/BusNotifier.h"

#include <poll.h>
#include <systemd/sd-bus.h>

#include <QObject>
#include <algorithm>
#include <utility>

namespace stowboard {

namespace {

// A turn of the main loop takes this many messages at most, since any program may send them.
constexpr int mostMessages = 100;

constexpr std::chrono::milliseconds shortestPatience(500);
constexpr std::chrono::milliseconds longestPatience(60'000);

}  // namespace

BusNotifier::BusNotifier(sd_bus* bus, std::function<void(int)> onBroken)
    : bus_(bus),
      onBroken_(std::move(onBroken)),
      readable_(sd_bus_get_fd(bus), QSocketNotifier::Read),
      writable_(sd_bus_get_fd(bus), QSocketNotifier::Write) {
  for (auto* each : {&readable_, &writable_}) {
    QObject::connect(each, &QSocketNotifier::activated, each, [this] { process(); });
  }
  goOn_.setSingleShot(true);
  QObject::connect(&goOn_, &QTimer::timeout, &goOn_, [this] { process(); });
}

void BusNotifier::process() {
  int status = 1;
  for (int count = 0; status > 0 && count < mostMessages; ++count) {
    status = sd_bus_process(bus_, nullptr);
  }
  if (status > 0) goOn_.start();
  const int events = status < 0 ? status : sd_bus_get_events(bus_);
  readable_.setEnabled(events >= 0);
  writable_.setEnabled(events >= 0 && (events & POLLOUT) != 0);
  if (events < 0 && onBroken_) onBroken_(events);
}

LastingBus::LastingBus(sd_bus* bus, std::function<void(sd_bus*)> onJoin,
                       std::function<void(int)> onLost)
    : onJoin_(std::move(onJoin)),
      onLost_(std::move(onLost)),
      bus_(bus),
      patience_(shortestPatience) {
  retry_.setSingleShot(true);
  QObject::connect(&retry_, &QTimer::timeout, &retry_, [this] { tryAgain(); });
  join();
}

// Unlike flushing, closing never waits; answers have been handed to the socket by then.
LastingBus::~LastingBus() {
  notifier_.reset();
  sd_bus_close_unref(bus_);
}

void LastingBus::join() {
  joined_ = std::chrono::steady_clock::now();
  notifier_ = std::make_unique<BusNotifier>(bus_, [this](int error) { didLose(error); });
  onJoin_(bus_);
  notifier_->process();
}

// On a later turn, as the one that tells of it is still at work.
void LastingBus::didLose(int error) {
  if (onLost_) onLost_(error);
  if (std::chrono::steady_clock::now() - joined_ > longestPatience) patience_ = shortestPatience;
  retry_.start(patience_);
}

// Longer each time while there is nothing, so that a session that has ended is left in peace.
void LastingBus::tryAgain() {
  sd_bus* found = nullptr;
  patience_ = std::min(2 * patience_, longestPatience);
  if (sd_bus_open_user(&found) < 0) return retry_.start(patience_);
  sd_bus* const lost = std::exchange(bus_, found);
  join();
  sd_bus_close_unref(lost);
}

}  // namespace stowboard
