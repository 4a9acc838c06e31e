#include "Platform/Desktop/Tray/DBusMenu.h"

#include <QDBusMetaType>
#include <algorithm>
#include <numeric>
#include <utility>

#include "Platform/Desktop/Tray/BusRecords.h"

namespace stowboard {

namespace {

void registerTypes() {
  qDBusRegisterMetaType<BusLayout>();
  qDBusRegisterMetaType<BusProperties>();
  qDBusRegisterMetaType<QList<BusProperties>>();
  qDBusRegisterMetaType<BusEvent>();
  qDBusRegisterMetaType<QList<BusEvent>>();
  qDBusRegisterMetaType<QList<QStringList>>();
}

bool hasEntry(const StatusMenu& menu, int id) { return id > 0 && id <= std::ssize(menu); }

const StatusMenuEntry& entry(const StatusMenu& menu, int id) {
  return menu[static_cast<std::size_t>(id - 1)];
}

// An underscore would underline the next letter.
QString label(const StatusMenuEntry& entry) {
  return QString::fromStdString(entry.title).replace('_', QLatin1String("__"));
}

QVariantMap propertiesOf(const StatusMenuEntry& entry) {
  if (entry.isSeparator()) return {{QStringLiteral("type"), QStringLiteral("separator")}};
  QVariantMap properties{{QStringLiteral("label"), label(entry)},
                         {QStringLiteral("enabled"), entry.isEnabled()}};
  if (!entry.keyEquivalent.empty()) {
    const QStringList chord{QStringLiteral("Control"), QString::fromStdString(entry.keyEquivalent)};
    properties.insert(QStringLiteral("shortcut"), QVariant::fromValue(QList<QStringList>{chord}));
  }
  return properties;
}

QVariantMap propertiesOf(const StatusMenu& menu, int id) {
  if (id == 0) return {{QStringLiteral("children-display"), QStringLiteral("submenu")}};
  return propertiesOf(entry(menu, id));
}

BusLayout layoutOf(const StatusMenu& menu, int id, int depth) {
  BusLayout layout{id, propertiesOf(menu, id), {}};
  for (int child = 1; id == 0 && depth != 0 && child <= std::ssize(menu); ++child) {
    layout.children.append(QVariant::fromValue(layoutOf(menu, child, 0)));
  }
  return layout;
}

bool haveSameLook(const StatusMenu& left, const StatusMenu& right) {
  return std::ranges::equal(left, right, [](const auto& one, const auto& other) {
    return one.title == other.title && one.isEnabled() == other.isEnabled();
  });
}

// None in a request stands for all.
QList<int> allIds(const StatusMenu& menu) {
  QList<int> ids(std::ssize(menu) + 1);
  std::iota(ids.begin(), ids.end(), 0);
  return ids;
}

QList<int> idsIn(const QDBusMessage& message) {
  return qdbus_cast<QList<int>>(message.arguments().value(0));
}

}  // namespace

DBusMenu::DBusMenu(std::function<StatusMenu()> menu)
    : DBusObject(path, "com.canonical.dbusmenu"), menu_(std::move(menu)) {
  registerTypes();
}

void DBusMenu::menuDidChange() { emitSignal("LayoutUpdated", {++revision_, 0}); }

QVariantMap DBusMenu::properties() const {
  return {{QStringLiteral("Version"), 3U},
          {QStringLiteral("TextDirection"), QStringLiteral("ltr")},
          {QStringLiteral("Status"), QStringLiteral("normal")},
          {QStringLiteral("IconThemePath"), QStringList()}};
}

bool DBusMenu::call(const QDBusMessage& message) {
  using Method = void (DBusMenu::*)(const QDBusMessage&);
  static const QHash<QString, std::pair<const char*, Method>> methods{
      {QStringLiteral("GetLayout"), {"iias", &DBusMenu::getLayout}},
      {QStringLiteral("GetGroupProperties"), {"aias", &DBusMenu::getGroupProperties}},
      {QStringLiteral("GetProperty"), {"is", &DBusMenu::getProperty}},
      {QStringLiteral("Event"), {"isvu", &DBusMenu::event}},
      {QStringLiteral("EventGroup"), {"a(isvu)", &DBusMenu::eventGroup}},
      {QStringLiteral("AboutToShow"), {"i", &DBusMenu::aboutToShow}},
      {QStringLiteral("AboutToShowGroup"), {"ai", &DBusMenu::aboutToShowGroup}}};
  const auto method = methods.constFind(message.member());
  if (method == methods.constEnd()) return false;
  if (message.signature() != QLatin1String(method->first)) {
    replyWithError(message, QStringLiteral("Other arguments are expected"));
  } else {
    (this->*method->second)(message);
  }
  return true;
}

void DBusMenu::getLayout(const QDBusMessage& message) {
  shown_ = menu_();
  const int id = message.arguments().at(0).toInt();
  if (id != 0 && !hasEntry(shown_, id)) {
    return replyWithError(message, QStringLiteral("There is no such entry"));
  }
  const BusLayout layout = layoutOf(shown_, id, message.arguments().at(1).toInt());
  reply(message, {revision_, QVariant::fromValue(layout)});
}

void DBusMenu::getGroupProperties(const QDBusMessage& message) {
  const StatusMenu menu = menu_();
  QList<int> ids = idsIn(message);
  if (ids.isEmpty()) ids = allIds(menu);
  QList<BusProperties> group;
  for (const int id : ids) {
    if (id == 0 || hasEntry(menu, id)) group.append({id, propertiesOf(menu, id)});
  }
  reply(message, {QVariant::fromValue(group)});
}

void DBusMenu::getProperty(const QDBusMessage& message) {
  const StatusMenu menu = menu_();
  const int id = message.arguments().at(0).toInt();
  const QString name = message.arguments().at(1).toString();
  const auto properties = id == 0 || hasEntry(menu, id) ? propertiesOf(menu, id) : QVariantMap();
  if (!properties.contains(name)) {
    return replyWithError(message, QStringLiteral("There is no such property"));
  }
  reply(message, {QVariant::fromValue(QDBusVariant(properties.value(name)))});
}

void DBusMenu::event(const QDBusMessage& message) {
  reply(message);
  choose(message.arguments().at(0).toInt(), message.arguments().at(1).toString());
}

void DBusMenu::eventGroup(const QDBusMessage& message) {
  reply(message, {QVariant::fromValue(QList<int>())});
  for (const auto& each : qdbus_cast<QList<BusEvent>>(message.arguments().at(0))) {
    choose(each.id, each.name);
  }
}

void DBusMenu::choose(int id, const QString& event) const {
  const StatusMenu menu = menu_();
  if (event != QLatin1String("clicked") || !hasEntry(menu, id)) return;
  if (const auto& action = entry(menu, id).action) action();
}

void DBusMenu::aboutToShow(const QDBusMessage& message) { reply(message, {takeChange()}); }

void DBusMenu::aboutToShowGroup(const QDBusMessage& message) {
  QList<int> changed;
  if (idsIn(message).contains(0) && takeChange()) changed.append(0);
  reply(message, {QVariant::fromValue(changed), QVariant::fromValue(QList<int>())});
}

// Whether the desktop has to fetch it anew before it opens it.
bool DBusMenu::takeChange() {
  if (haveSameLook(menu_(), shown_)) return false;
  revision_ += 1;
  return true;
}

QString DBusMenu::introspect(const QString&) const {
  return QStringLiteral(R"xml(<interface name="com.canonical.dbusmenu">
<property name="Version" type="u" access="read"/>
<property name="TextDirection" type="s" access="read"/>
<property name="Status" type="s" access="read"/>
<property name="IconThemePath" type="as" access="read"/>
<method name="GetLayout"><arg type="i" direction="in"/><arg type="i" direction="in"/>
<arg type="as" direction="in"/><arg type="u" direction="out"/>
<arg type="(ia{sv}av)" direction="out"/></method>
<method name="GetGroupProperties"><arg type="ai" direction="in"/><arg type="as" direction="in"/>
<arg type="a(ia{sv})" direction="out"/></method>
<method name="GetProperty"><arg type="i" direction="in"/><arg type="s" direction="in"/>
<arg type="v" direction="out"/></method>
<method name="Event"><arg type="i" direction="in"/><arg type="s" direction="in"/>
<arg type="v" direction="in"/><arg type="u" direction="in"/></method>
<method name="EventGroup"><arg type="a(isvu)" direction="in"/><arg type="ai" direction="out"/></method>
<method name="AboutToShow"><arg type="i" direction="in"/><arg type="b" direction="out"/></method>
<method name="AboutToShowGroup"><arg type="ai" direction="in"/><arg type="ai" direction="out"/>
<arg type="ai" direction="out"/></method>
<signal name="LayoutUpdated"><arg type="u"/><arg type="i"/></signal>
</interface>)xml");
}

}  // namespace stowboard
