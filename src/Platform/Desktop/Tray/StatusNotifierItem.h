#pragma once

#include <QPoint>
#include <functional>

#include "Platform/Desktop/Tray/DBusMenu.h"
#include "Platform/Desktop/Tray/DBusObject.h"

namespace stowboard {

/// The status item as desktops with the interface org.kde.StatusNotifierItem show it. Main thread.
class StatusNotifierItem final : public DBusObject {
 public:
  static constexpr const char* path = "/StatusNotifierItem";

  /// See StatusItem::Content.
  StatusNotifierItem(std::function<StatusItem::Picture(int size)> icon,
                     std::function<StatusMenu()> menu);

  /// The primary click, with the place that the desktop hints at for a window, in pixels of the
  /// screen; null where it gives none.
  std::function<void(const QPoint& hint)> onActivate;
  /// The secondary click, for a desktop that does not show our menu by itself.
  std::function<void()> onContextMenu;

  void menuDidChange() { menu_.menuDidChange(); }
  void registerWithMenuOn(const QDBusConnection& connection);

  QString introspect(const QString& path) const override;

 protected:
  QVariantMap properties() const override;
  bool call(const QDBusMessage& message) override;

 private:
  const std::function<StatusItem::Picture(int size)> icon_;
  DBusMenu menu_;
};

}  // namespace stowboard
