#pragma once

#include <memory>

#include "Platform/Desktop/Tray/DBusMenu.h"
#include "Platform/Desktop/Tray/DBusObject.h"
#include "Platform/Desktop/Tray/ToolkitMenu.h"
#include "Platform/StatusItem.h"

namespace stowboard {

/// The status item as desktops with the interface org.kde.StatusNotifierItem show it. Main thread.
class StatusNotifierItem final : public DBusObject {
 public:
  /// Answers on the connection, as long as there is one, and so does its menu.
  StatusNotifierItem(StatusItem::Content content, const QDBusConnection& connection);

  void menuDidChange() { menu_.menuDidChange(); }

  QString introspect(const QString& path) const override;

 protected:
  QVariantMap properties() const override;
  bool call(const QDBusMessage& message) override;

 private:
  void popUpMenu();

  const StatusItem::Content content_;
  DBusMenu menu_;
  /// For a desktop that does not show our menu by itself.
  std::unique_ptr<ToolkitMenu> ownMenu_;
};

}  // namespace stowboard
