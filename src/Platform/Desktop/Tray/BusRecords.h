#pragma once

#include <QByteArray>
#include <QDBusArgument>
#include <QDBusVariant>
#include <QList>
#include <QString>
#include <QVariant>
#include <tuple>

namespace stowboard {

/// A structure as it goes over the bus: its fields in their order.
template <typename Type>
concept BusRecord = requires(Type& record) { Type::fields(record); };

QDBusArgument& operator<<(QDBusArgument& argument, const BusRecord auto& record) {
  argument.beginStructure();
  std::apply([&](const auto&... each) { (argument << ... << each); }, record.fields(record));
  argument.endStructure();
  return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, BusRecord auto& record) {
  argument.beginStructure();
  std::apply([&](auto&... each) { (argument >> ... >> each); }, record.fields(record));
  argument.endStructure();
  return argument;
}

/// The (iiay) of a picture: 32-bit ARGB in network byte order, line by line.
struct BusPicture {
  int width = 0;
  int height = 0;
  QByteArray pixels;

  static auto fields(auto& self) { return std::tie(self.width, self.height, self.pixels); }
};

/// The (sa(iiay)ss) of a tooltip.
struct BusToolTip {
  QString iconName;
  QList<BusPicture> pictures;
  QString title;
  QString text;

  static auto fields(auto& self) {
    return std::tie(self.iconName, self.pictures, self.title, self.text);
  }
};

/// The (ia{sv}av) of a menu's layout. Entries are numbered from 1; 0 is the menu as a whole.
struct BusLayout {
  int id = 0;
  QVariantMap properties;
  QVariantList children;

  static auto fields(auto& self) { return std::tie(self.id, self.properties, self.children); }
};

/// The (ia{sv}) of a group of properties.
struct BusProperties {
  int id = 0;
  QVariantMap properties;

  static auto fields(auto& self) { return std::tie(self.id, self.properties); }
};

/// The (isvu) of a group of events.
struct BusEvent {
  int id = 0;
  QString name;
  QDBusVariant data{0};
  uint time = 0;

  static auto fields(auto& self) { return std::tie(self.id, self.name, self.data, self.time); }
};

}  // namespace stowboard
