#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace stowboard {

/// Knows the last secret again when it comes back without its mark, as when its owner ends and
/// another program offers the plain text in its place. Nothing of it is kept that could be read: 32
/// bits of a hash under a random key of this process, which leave even a guess in doubt.
class SecretMemory {
 public:
  /// Longer texts are not asked for: no secret that is copied by hand comes near.
  static constexpr std::size_t maxBytes = std::size_t{64} << 10;

  SecretMemory();

  /// `copyNumber`: which copy the secret was, in the order of the copies.
  void remember(std::string_view text, std::uint64_t copyNumber);
  void forget() { secret_.reset(); }
  /// Whether that later copy is the secret. One that is not takes its place: it cannot come back
  /// any more, and is forgotten.
  bool knows(std::string_view text, std::uint64_t copyNumber);

 private:
  struct Secret {
    std::uint32_t hash;
    std::uint64_t copyNumber;
  };

  std::uint32_t hash(std::string_view text) const;

  std::array<std::uint64_t, 2> key_{};
  std::optional<Secret> secret_;
};

}  // namespace stowboard
