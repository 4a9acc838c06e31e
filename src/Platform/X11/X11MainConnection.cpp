#include "Platform/X11/X11MainConnection.h"

#include <QAbstractEventDispatcher>
#include <QSocketNotifier>
#include <utility>

namespace stowboard {

std::shared_ptr<X11MainConnection> X11MainConnection::open(const std::string& display) {
  auto connection = X11Connection::open(display);
  if (!connection) return nullptr;
  return std::shared_ptr<X11MainConnection>(new X11MainConnection(std::move(connection), display));
}

X11MainConnection::X11MainConnection(std::unique_ptr<X11Connection> connection,
                                     const std::string& display)
    : connection_(std::move(connection)),
      display_(display),
      notifier_(
          std::make_unique<QSocketNotifier>(connection_->fileDescriptor(), QSocketNotifier::Read)) {
  QObject::connect(notifier_.get(), &QSocketNotifier::activated, [this] { handleEvents(); });
  QObject::connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock,
                   notifier_.get(), [this] { lookForQueued(); });
}

X11MainConnection::~X11MainConnection() = default;

X11MainConnection::Subscription X11MainConnection::subscribe(Listener listener) {
  std::erase_if(subscribers_, [](const auto& each) { return each.expired(); });
  auto subscriber = std::make_shared<Subscriber>(Subscriber{std::move(listener)});
  subscribers_.push_back(subscriber);
  return subscriber;
}

// Waiting for a reply takes events off the socket, which is then silent about them. They are looked
// for before the loop sleeps, and handled outside of its dispatcher.
void X11MainConnection::lookForQueued() {
  if (queued_) return;
  queued_.reset(xcb_poll_for_queued_event(xcb()));
  if (queued_) handleLater();
}

void X11MainConnection::handleLater() {
  QMetaObject::invokeMethod(notifier_.get(), [this] { handleEvents(); }, Qt::QueuedConnection);
}

// A few in each turn of the loop: any program can send the root window as many as it likes.
void X11MainConnection::handleEvents() {
  constexpr int mostAtOnce = 64;
  // A listener may be the last to hold it.
  const auto keptAlive = shared_from_this();
  int left = mostAtOnce;
  do {
    while (left > 0 && handleOne()) --left;
    // Asks the server, which may bring further events in.
  } while (settle() && left > 0);
  if (left == 0) handleLater();
  if (!isBroken() || !notifier_->isEnabled()) return;
  notifier_->setEnabled(false);
  forEachSubscriber([](Subscriber& subscriber) { subscriber.listener.lose(); });
}

bool X11MainConnection::handleOne() {
  const auto event = nextEvent();
  if (event && event->response_type != 0) {
    forEachSubscriber([&](Subscriber& subscriber) {
      if (subscriber.listener.handle(*event)) subscriber.isToSettle = true;
    });
  }
  return event != nullptr;
}

bool X11MainConnection::settle() {
  bool hasSettled = false;
  forEachSubscriber([&](Subscriber& subscriber) {
    if (!std::exchange(subscriber.isToSettle, false)) return;
    hasSettled = true;
    subscriber.listener.settle();
  });
  return hasSettled;
}

XcbPointer<xcb_generic_event_t> X11MainConnection::nextEvent() {
  return queued_ ? std::move(queued_) : connection_->nextEvent();
}

void X11MainConnection::forEachSubscriber(const std::function<void(Subscriber&)>& visit) const {
  // A copy, because the listeners may change the list.
  const auto subscribers = subscribers_;
  for (const auto& each : subscribers) {
    if (const auto subscriber = each.lock()) visit(*subscriber);
  }
}

}  // namespace stowboard
