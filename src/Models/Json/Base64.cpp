#include "Models/Json/Base64.h"

#include <array>
#include <cstdint>
#include <cstring>

namespace stowboard {

namespace {

constexpr std::string_view alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// Both characters of every 12-bit value: two look-ups encode three bytes.
constexpr auto characterPairs = [] {
  std::array<std::array<char, 2>, 4096> pairs{};
  for (std::size_t value = 0; value < pairs.size(); ++value) {
    pairs[value] = {alphabet[value >> 6], alphabet[value & 63]};
  }
  return pairs;
}();

constexpr std::uint32_t notInAlphabet = 0x80000000;

// digits[place][character]: the six bits at their place in a group of four. Any character outside
// the alphabet sets the top bit, which no sum of four good ones reaches.
constexpr auto digits = [] {
  std::array<std::array<std::uint32_t, 256>, 4> tables{};
  for (std::size_t place = 0; place < 4; ++place) {
    tables[place].fill(notInAlphabet);
    for (std::uint32_t value = 0; value < 64; ++value) {
      tables[place][static_cast<unsigned char>(alphabet[value])] = value << (18 - 6 * place);
    }
  }
  return tables;
}();

std::uint32_t byteAt(const char* in) { return static_cast<unsigned char>(*in); }

std::uint32_t groupAt(const char* in) {
  return digits[0][byteAt(in)] | digits[1][byteAt(in + 1)] | digits[2][byteAt(in + 2)] |
         digits[3][byteAt(in + 3)];
}

void putBytes(std::uint32_t group, char* out, std::size_t count) {
  const std::array<char, 3> bytes{static_cast<char>(group >> 16), static_cast<char>(group >> 8),
                                  static_cast<char>(group)};
  std::memcpy(out, bytes.data(), count);
}

std::size_t paddingOf(std::string_view text) {
  if (text.ends_with("==")) return 2;
  return text.ends_with('=') ? 1 : 0;
}

// The last group, padded with zero bits where "=" stands.
bool decodeLastGroup(const char* in, std::size_t padding, char* out) {
  std::array<char, 4> group{in[0], in[1], in[2], in[3]};
  for (std::size_t place = 4 - padding; place < 4; ++place) group[place] = 'A';
  const std::uint32_t bits = groupAt(group.data());
  putBytes(bits, out, 3 - padding);
  return (bits & notInAlphabet) == 0;
}

}  // namespace

char* encodeBase64(std::string_view bytes, char* out) {
  const char* in = bytes.data();
  std::size_t left = bytes.size();
  for (; left >= 3; left -= 3, in += 3, out += 4) {
    const std::uint32_t group = byteAt(in) << 16 | byteAt(in + 1) << 8 | byteAt(in + 2);
    std::memcpy(out, characterPairs[group >> 12].data(), 2);
    std::memcpy(out + 2, characterPairs[group & 4095].data(), 2);
  }
  if (left == 0) return out;
  const std::uint32_t group = byteAt(in) << 16 | (left == 2 ? byteAt(in + 1) << 8 : 0);
  std::memcpy(out, characterPairs[group >> 12].data(), 2);
  out[2] = left == 2 ? characterPairs[group & 4095][0] : '=';
  out[3] = '=';
  return out + 4;
}

bool decodeBase64(std::string_view text, std::string& bytes) {
  bytes.clear();
  if (text.empty()) return true;
  if (text.size() % 4 != 0) return false;
  const std::size_t padding = paddingOf(text);
  bytes.resize(text.size() / 4 * 3 - padding);

  const char* in = text.data();
  char* out = bytes.data();
  std::uint32_t seen = 0;
  for (const char* last = in + text.size() - 4; in != last; in += 4, out += 3) {
    const std::uint32_t group = groupAt(in);
    seen |= group;
    putBytes(group, out, 3);
  }
  return (seen & notInAlphabet) == 0 && decodeLastGroup(in, padding, out);
}

}  // namespace stowboard
