#include "Base/Uuid.h"

#include <sys/random.h>

#include <cerrno>
#include <system_error>

namespace stowboard {

namespace {

bool isHyphenPlace(std::size_t index) {
  return index == 8 || index == 13 || index == 18 || index == 23;
}

std::optional<std::uint8_t> nibble(char digit) {
  if (digit >= '0' && digit <= '9') return static_cast<std::uint8_t>(digit - '0');
  if (digit >= 'A' && digit <= 'F') return static_cast<std::uint8_t>(digit - 'A' + 10);
  if (digit >= 'a' && digit <= 'f') return static_cast<std::uint8_t>(digit - 'a' + 10);
  return std::nullopt;
}

}  // namespace

Uuid Uuid::random() {
  Uuid uuid;
  // At most 256 bytes are given whole or not at all; only a signal before the kernel's source is
  // seeded interrupts (getrandom(2)).
  while (getrandom(uuid.bytes_.data(), uuid.bytes_.size(), 0) < 0) {
    if (errno != EINTR) throw std::system_error(errno, std::generic_category(), "getrandom");
  }
  uuid.bytes_[6] = static_cast<std::uint8_t>((uuid.bytes_[6] & 0x0F) | 0x40);
  uuid.bytes_[8] = static_cast<std::uint8_t>((uuid.bytes_[8] & 0x3F) | 0x80);
  return uuid;
}

std::optional<Uuid> Uuid::fromString(std::string_view text) {
  if (text.size() != 36) return std::nullopt;
  Uuid uuid;
  std::size_t digits = 0;
  for (std::size_t index = 0; index < text.size(); ++index) {
    if (isHyphenPlace(index)) {
      if (text[index] != '-') return std::nullopt;
      continue;
    }
    const auto value = nibble(text[index]);
    if (!value) return std::nullopt;
    auto& byte = uuid.bytes_[digits / 2];
    byte = static_cast<std::uint8_t>(byte << 4 | *value);
    ++digits;
  }
  return uuid;
}

std::string Uuid::toString() const {
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::string text;
  text.reserve(36);
  for (const std::uint8_t byte : bytes_) {
    if (isHyphenPlace(text.size())) text.push_back('-');
    text.push_back(digits[byte >> 4]);
    text.push_back(digits[byte & 0x0F]);
  }
  return text;
}

}  // namespace stowboard
