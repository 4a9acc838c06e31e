#include "Platform/Desktop/Tray/StatusNotifierHost.h"

#include <QDBusError>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <chrono>
#include <limits>
#include <utility>

namespace stowboard {

namespace {

constexpr auto watcherAnswersIn = std::chrono::seconds(2);
// Its late answer is the sign that it hangs no more.
constexpr int noTimeout = std::numeric_limits<int>::max();
const QString busName = QStringLiteral("org.freedesktop.DBus");
const QString watcherName = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString watcherPath = QStringLiteral("/StatusNotifierWatcher");

QDBusMessage callTo(const QString& service, const QString& interface, const QString& method) {
  auto message = QDBusMessage::createMethodCall(service, watcherPath, interface, method);
  message.setAutoStartService(false);
  return message;
}

bool isUnanswered(const QDBusMessage& answer) {
  const QDBusError::ErrorType error = QDBusError(answer).type();
  return error == QDBusError::NoReply || error == QDBusError::Timeout ||
         error == QDBusError::TimedOut;
}

}  // namespace

StatusNotifierHost::StatusNotifierHost(const QDBusConnection& connection,
                                       std::function<void(bool)> onChange)
    : connection_(connection), onChange_(std::move(onChange)) {
  changed_.setSingleShot(true);
  QObject::connect(&changed_, &QTimer::timeout, &changed_, [this] { look(); });
  patience_.setSingleShot(true);
  QObject::connect(&patience_, &QTimer::timeout, &patience_, [this] { onChange_(false); });
  if (connection_.isConnected()) subscribe();
}

void StatusNotifierHost::subscribe() {
  connection_.connect(busName, QStringLiteral("/org/freedesktop/DBus"), busName,
                      QStringLiteral("NameOwnerChanged"), {watcherName}, QString(), &changed_,
                      SLOT(start()));
  for (const char* signal : {"StatusNotifierHostRegistered", "StatusNotifierHostUnregistered"}) {
    // From any sender: following a name's owner would wait for the bus.
    connection_.connect(QString(), watcherPath, watcherName, QLatin1String(signal), &changed_,
                        SLOT(start()));
  }
}

// By the name on the bus that it has now: an answer does not say whose it is.
void StatusNotifierHost::look() {
  if (!connection_.isConnected()) return onChange_(false);
  asksAgain_ = isAsking_;
  if (std::exchange(isAsking_, true)) return;
  patience_.start(watcherAnswersIn);
  auto question = QDBusMessage::createMethodCall(busName, QStringLiteral("/org/freedesktop/DBus"),
                                                 busName, QStringLiteral("GetNameOwner"));
  ask(question << watcherName, [this](const QDBusMessage& answer) {
    const auto watcher = answer.arguments().value(0).toString();
    if (answer.type() != QDBusMessage::ReplyMessage) return handle({}, answer);
    auto isShown =
        callTo(watcher, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    isShown << watcherName << QStringLiteral("IsStatusNotifierHostRegistered");
    ask(isShown, [this, watcher](const QDBusMessage& shown) { handle(watcher, shown); });
  });
}

void StatusNotifierHost::ask(const QDBusMessage& question,
                             std::function<void(const QDBusMessage&)> then) {
  auto* pending =
      new QDBusPendingCallWatcher(connection_.asyncCall(question, noTimeout), &changed_);
  QObject::connect(pending, &QDBusPendingCallWatcher::finished, pending,
                   [pending, then = std::move(then)] {
                     pending->deleteLater();
                     then(pending->reply());
                   });
}

void StatusNotifierHost::handle(const QString& watcher, const QDBusMessage& answer) {
  isAsking_ = false;
  patience_.stop();
  if (asksAgain_) changed_.start();
  if (isUnanswered(answer)) return;
  const auto value = answer.arguments().value(0).value<QDBusVariant>().variant();
  const bool isPresent = answer.type() == QDBusMessage::ReplyMessage && value.toBool();
  registerItemWith(isPresent ? watcher : QString());
  onChange_(isPresent);
}

void StatusNotifierHost::registerItemWith(const QString& watcher) {
  if (std::exchange(registeredWith_, watcher) == watcher || watcher.isEmpty()) return;
  connection_.asyncCall(callTo(watcher, watcherName, QStringLiteral("RegisterStatusNotifierItem"))
                        << connection_.baseService());
}

}  // namespace stowboard
