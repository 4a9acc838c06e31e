#pragma once

#include <boost/uuid/uuid.hpp>
#include <boost/uuid/uuid_hash.hpp>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace stowboard {

/// A 128-bit universally unique identifier (RFC 4122).
class Uuid {
 public:
  /// A new random (version 4) identifier from the kernel's random source.
  static Uuid random();
  /// Parses the 36-character form 8-4-4-4-12, upper or lower case; empty on anything else.
  static std::optional<Uuid> fromString(std::string_view text);

  /// The 36-character form in upper case.
  std::string toString() const;

  /// For hash tables.
  std::size_t hash() const { return boost::uuids::hash_value(value_); }

  friend bool operator==(const Uuid&, const Uuid&) = default;

 private:
  explicit Uuid(const boost::uuids::uuid& value) : value_(value) {}

  boost::uuids::uuid value_{};
};

}  // namespace stowboard

template <>
struct std::hash<stowboard::Uuid> {
  std::size_t operator()(const stowboard::Uuid& uuid) const { return uuid.hash(); }
};
