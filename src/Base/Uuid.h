#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
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
  std::size_t hash() const {
    const auto* characters = reinterpret_cast<const char*>(bytes_.data());
    return std::hash<std::string_view>()({characters, bytes_.size()});
  }

  friend bool operator==(const Uuid&, const Uuid&) = default;

 private:
  std::array<std::uint8_t, 16> bytes_{};
};

}  // namespace stowboard

template <>
struct std::hash<stowboard::Uuid> {
  std::size_t operator()(const stowboard::Uuid& uuid) const { return uuid.hash(); }
};
