#include "Platform/Desktop/Tray/StatusNotifierItem.h"

#include <QCursor>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QGuiApplication>
#include <QScreen>
#include <QtEndian>
#include <array>
#include <utility>

#include "Platform/Desktop/Tray/BusRecords.h"

namespace stowboard {

namespace {

using Pictures = QList<BusPicture>;

void registerTypes() {
  qDBusRegisterMetaType<BusPicture>();
  qDBusRegisterMetaType<Pictures>();
  qDBusRegisterMetaType<BusToolTip>();
}

BusPicture inNetworkOrder(const StatusItem::Picture& picture) {
  const auto count = std::ssize(picture.pixels);
  QByteArray pixels(count * 4, Qt::Uninitialized);
  qToBigEndian<quint32>(picture.pixels.data(), count, pixels.data());
  return {picture.width, picture.height, pixels};
}

// Panels scale the next larger one down, so there is one for each usual height, single and double.
Pictures pictures(const std::function<StatusItem::Picture(int)>& icon) {
  constexpr std::array sizes{16, 18, 22, 24, 32, 44, 48, 64, 128};
  Pictures all;
  for (const int size : sizes) all.append(inNetworkOrder(icon(size)));
  return all;
}

// A desktop hints in pixels at the place for a window, or gives 0, 0. Screens keep their corner in
// pixels and their size in units of their own ratio.
StatusItem::Rectangle squareAt(const QPoint& pixel) {
  if (pixel.isNull()) return {};
  for (const QScreen* screen : QGuiApplication::screens()) {
    const QPoint corner = screen->geometry().topLeft();
    const QPoint place = corner + (pixel - corner) / screen->devicePixelRatio();
    if (screen->geometry().contains(place)) return {place.x(), place.y(), 1, 1};
  }
  return {};
}

}  // namespace

StatusNotifierItem::StatusNotifierItem(StatusItem::Content content,
                                       const QDBusConnection& connection)
    : DBusObject("/StatusNotifierItem", "org.kde.StatusNotifierItem"),
      content_(std::move(content)),
      menu_(content_.menu) {
  registerTypes();
  if (!connection.isConnected()) return;
  menu_.registerOn(connection);
  registerOn(connection);
}

QVariantMap StatusNotifierItem::properties() const {
  return {
      {QStringLiteral("Category"), QStringLiteral("ApplicationStatus")},
      {QStringLiteral("Id"), QStringLiteral("com.qarvin.stowboard")},
      {QStringLiteral("Title"), QStringLiteral("Stowboard clipboard history")},
      {QStringLiteral("Status"), QStringLiteral("Active")},
      {QStringLiteral("WindowId"), 0},
      {QStringLiteral("IconName"), QString()},
      {QStringLiteral("IconPixmap"), QVariant::fromValue(pictures(content_.icon))},
      {QStringLiteral("OverlayIconName"), QString()},
      {QStringLiteral("OverlayIconPixmap"), QVariant::fromValue(Pictures())},
      {QStringLiteral("AttentionIconName"), QString()},
      {QStringLiteral("AttentionIconPixmap"), QVariant::fromValue(Pictures())},
      {QStringLiteral("AttentionMovieName"), QString()},
      {QStringLiteral("IconThemePath"), QString()},
      {QStringLiteral("ToolTip"), QVariant::fromValue(BusToolTip())},
      {QStringLiteral("ItemIsMenu"), false},
      {QStringLiteral("Menu"), QVariant::fromValue(QDBusObjectPath(QLatin1String(DBusMenu::path)))},
  };
}

bool StatusNotifierItem::call(const QDBusMessage& message) {
  static const QStringList methods{QStringLiteral("Activate"), QStringLiteral("ContextMenu"),
                                   QStringLiteral("SecondaryActivate"), QStringLiteral("Scroll"),
                                   QStringLiteral("ProvideXdgActivationToken")};
  if (!methods.contains(message.member())) return false;
  reply(message);
  // The middle button and the wheel do nothing.
  if (message.member() == QLatin1String("Activate")) {
    const QVariantList place = message.arguments();
    content_.onActivate(squareAt({place.value(0).toInt(), place.value(1).toInt()}));
  }
  if (message.member() == QLatin1String("ContextMenu")) popUpMenu();
  return true;
}

void StatusNotifierItem::popUpMenu() {
  if (!ownMenu_) ownMenu_ = std::make_unique<ToolkitMenu>(content_.menu);
  ownMenu_->popup(QCursor::pos());
}

QString StatusNotifierItem::introspect(const QString&) const {
  return QStringLiteral(R"xml(<interface name="org.kde.StatusNotifierItem">
<property name="Category" type="s" access="read"/>
<property name="Id" type="s" access="read"/>
<property name="Title" type="s" access="read"/>
<property name="Status" type="s" access="read"/>
<property name="WindowId" type="i" access="read"/>
<property name="IconThemePath" type="s" access="read"/>
<property name="Menu" type="o" access="read"/>
<property name="ItemIsMenu" type="b" access="read"/>
<property name="IconName" type="s" access="read"/>
<property name="IconPixmap" type="a(iiay)" access="read"/>
<property name="OverlayIconName" type="s" access="read"/>
<property name="OverlayIconPixmap" type="a(iiay)" access="read"/>
<property name="AttentionIconName" type="s" access="read"/>
<property name="AttentionIconPixmap" type="a(iiay)" access="read"/>
<property name="AttentionMovieName" type="s" access="read"/>
<property name="ToolTip" type="(sa(iiay)ss)" access="read"/>
<method name="ContextMenu"><arg type="i" direction="in"/><arg type="i" direction="in"/></method>
<method name="Activate"><arg type="i" direction="in"/><arg type="i" direction="in"/></method>
<method name="SecondaryActivate"><arg type="i" direction="in"/><arg type="i" direction="in"/></method>
<method name="Scroll"><arg type="i" direction="in"/><arg type="s" direction="in"/></method>
<method name="ProvideXdgActivationToken"><arg type="s" direction="in"/></method>
<signal name="NewTitle"/><signal name="NewIcon"/><signal name="NewAttentionIcon"/>
<signal name="NewOverlayIcon"/><signal name="NewToolTip"/>
<signal name="NewStatus"><arg type="s"/></signal>
</interface>)xml");
}

}  // namespace stowboard
