#include "Platform/Clipboard/SecretMemory.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <random>

namespace stowboard {

namespace {

// SipHash-2-4 (Aumasson and Bernstein, 2012).
class SipHash {
 public:
  explicit SipHash(const std::array<std::uint64_t, 2>& key)
      : state_{key[0] ^ 0x736f6d6570736575, key[1] ^ 0x646f72616e646f6d,
               key[0] ^ 0x6c7967656e657261, key[1] ^ 0x7465646279746573} {}

  std::uint64_t operator()(std::string_view text) {
    const auto length = static_cast<std::uint64_t>(text.size()) << 56;
    for (; text.size() >= sizeof length; text.remove_prefix(sizeof length)) take(word(text));
    take(word(text) | length);
    state_[2] ^= 0xff;
    for (int round = 0; round < 4; ++round) mix();
    return state_[0] ^ state_[1] ^ state_[2] ^ state_[3];
  }

 private:
  static std::uint64_t word(std::string_view text) {
    std::uint64_t word = 0;
    std::memcpy(&word, text.data(), std::min(text.size(), sizeof word));
    return word;
  }

  void take(std::uint64_t word) {
    state_[3] ^= word;
    mix();
    mix();
    state_[0] ^= word;
  }

  void mix() {
    auto& [a, b, c, d] = state_;
    a += b, b = std::rotl(b, 13) ^ a, a = std::rotl(a, 32);
    c += d, d = std::rotl(d, 16) ^ c;
    a += d, d = std::rotl(d, 21) ^ a;
    c += b, b = std::rotl(b, 17) ^ c, c = std::rotl(c, 32);
  }

  std::array<std::uint64_t, 4> state_;
};

}  // namespace

SecretMemory::SecretMemory() {
  std::random_device random;
  for (auto& half : key_) half = static_cast<std::uint64_t>(random()) << 32 | random();
}

std::uint32_t SecretMemory::hash(std::string_view text) const {
  // Some owners send their string's terminator, others do not.
  if (text.ends_with('\0')) text.remove_suffix(1);
  return static_cast<std::uint32_t>(SipHash(key_)(text));
}

void SecretMemory::remember(std::string_view text, std::uint64_t copyNumber) {
  secret_ = {hash(text), copyNumber};
}

bool SecretMemory::knows(std::string_view text, std::uint64_t copyNumber) {
  if (!secret_ || copyNumber <= secret_->copyNumber) return false;
  const bool isSame = text.size() <= maxBytes + 1 && hash(text) == secret_->hash;
  if (!isSame) forget();
  return isSame;
}

}  // namespace stowboard
