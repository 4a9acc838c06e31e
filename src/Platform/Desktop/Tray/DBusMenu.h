#pragma once

#include <functional>

#include "Platform/Desktop/Tray/DBusObject.h"
#include "Platform/StatusItem.h"

namespace stowboard {

/// Lends the status item's menu to the desktop, which shows it in its own way: the interface
/// com.canonical.dbusmenu, as its libdbusmenu describes it. Main thread.
class DBusMenu final : public DBusObject {
 public:
  static constexpr const char* path = "/MenuBar";

  /// `menu` gives the menu of the moment.
  explicit DBusMenu(std::function<StatusMenu()> menu);

  /// Has the desktop fetch it again, where it keeps a copy.
  void menuDidChange();

  QString introspect(const QString& path) const override;

 protected:
  QVariantMap properties() const override;
  bool call(const QDBusMessage& message) override;

 private:
  void getLayout(const QDBusMessage& message);
  void getGroupProperties(const QDBusMessage& message);
  void getProperty(const QDBusMessage& message);
  void event(const QDBusMessage& message);
  void eventGroup(const QDBusMessage& message);
  void aboutToShow(const QDBusMessage& message);
  void aboutToShowGroup(const QDBusMessage& message);
  bool takeChange();
  void choose(int id, const QString& event) const;

  const std::function<StatusMenu()> menu_;
  /// As the desktop saw it last.
  StatusMenu shown_;
  uint revision_ = 1;
};

}  // namespace stowboard
