#pragma once

#include <QDBusConnection>
#include <QTimer>
#include <functional>

class QDBusError;
class QDBusMessage;

namespace stowboard {

/// Whether something on the session bus shows StatusNotifier items, as told by
/// org.kde.StatusNotifierWatcher, and how it changes: a panel starts, ends or takes over. Never
/// waits for any of them. Main thread.
class StatusNotifierHost {
 public:
  /// `onChange` is called with the answer, first when it is known, and again whenever it may have
  /// changed. A watcher that does not answer for two seconds shows nothing until it does.
  StatusNotifierHost(const QDBusConnection& connection, std::function<void(bool)> onChange);

  /// Asks for the first time. From here on each watcher that comes is told of the item on the
  /// connection, at /StatusNotifierItem.
  void look();

 private:
  void subscribe();
  void ask(const QDBusMessage& question, std::function<void(const QDBusMessage&)> then);
  void handle(const QString& watcher, const QDBusMessage& answer);
  void registerItemWith(const QString& watcher);

  QDBusConnection connection_;
  const std::function<void(bool)> onChange_;
  /// The unique bus name of the watcher that has our item; empty for none.
  QString registeredWith_;
  /// The bus starts it at each signal that may mean a change; only a slot can receive those.
  QTimer changed_;
  /// Runs out where the watcher hangs.
  QTimer patience_;
  bool isAsking_ = false;
  bool asksAgain_ = false;
};

}  // namespace stowboard
