#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QVariantMap>

namespace stowboard {

/// An object on the session bus with one interface and its properties, which do not change but by
/// the interface's own signals. Main thread.
class DBusObject : public QDBusVirtualObject {
 public:
  DBusObject(const char* path, const char* interface) : path_(path), interface_(interface) {}
  ~DBusObject() override;

  /// Called once. From here on the object answers.
  void registerOn(const QDBusConnection& connection);

  bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

 protected:
  virtual QVariantMap properties() const = 0;
  /// Answers a call to the interface, by reply() or replyWithError(); false where there is no
  /// such method.
  virtual bool call(const QDBusMessage& message) = 0;

  void reply(const QDBusMessage& message, const QVariantList& values = {}) const;
  void replyWithError(const QDBusMessage& message, const QString& text) const;
  void emitSignal(const char* name, const QVariantList& values) const;

 private:
  bool answerProperties(const QDBusMessage& message) const;

  const QString path_;
  const QString interface_;
  QDBusConnection connection_{QString()};
};

}  // namespace stowboard
