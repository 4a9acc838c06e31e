#include "Platform/Desktop/Tray/DBusObject.h"

#include <QDBusVariant>

namespace stowboard {

DBusObject::~DBusObject() {
  if (connection_.isConnected()) connection_.unregisterObject(path_);
}

void DBusObject::registerOn(const QDBusConnection& connection) {
  connection_ = connection;
  connection_.registerVirtualObject(path_, this);
}

bool DBusObject::handleMessage(const QDBusMessage& message, const QDBusConnection&) {
  if (message.type() != QDBusMessage::MethodCallMessage) return false;
  if (message.interface() == QLatin1String("org.freedesktop.DBus.Properties")) {
    return answerProperties(message);
  }
  // The interface may be left out of a call.
  const bool isOurs = message.interface() == interface_ || message.interface().isEmpty();
  return isOurs && call(message);
}

bool DBusObject::answerProperties(const QDBusMessage& message) const {
  const QString name = message.arguments().value(1).toString();
  const QVariantMap all = properties();
  if (message.member() == QLatin1String("GetAll")) {
    reply(message, {all});
  } else if (message.member() == QLatin1String("Get") && all.contains(name)) {
    reply(message, {QVariant::fromValue(QDBusVariant(all.value(name)))});
  } else {
    replyWithError(message, QStringLiteral("There is no such property to read"));
  }
  return true;
}

void DBusObject::reply(const QDBusMessage& message, const QVariantList& values) const {
  if (message.isReplyRequired()) connection_.send(message.createReply(values));
}

void DBusObject::replyWithError(const QDBusMessage& message, const QString& text) const {
  if (message.isReplyRequired()) {
    connection_.send(message.createErrorReply(QDBusError::InvalidArgs, text));
  }
}

void DBusObject::emitSignal(const char* name, const QVariantList& values) const {
  if (!connection_.isConnected()) return;
  auto signal = QDBusMessage::createSignal(path_, interface_, QLatin1String(name));
  signal.setArguments(values);
  connection_.send(signal);
}

}  // namespace stowboard
