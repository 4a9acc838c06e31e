#include "Base/Utf8.h"

#include <unicode/utf8.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

namespace stowboard {

namespace {

using Byte = unsigned char;

const Byte* skipAscii(const Byte* place, const Byte* end) {
  constexpr std::uint64_t highBits = 0x8080808080808080;
  while (end - place >= 32) {
    std::uint64_t words[4];
    std::memcpy(words, place, sizeof words);
    if ((words[0] | words[1] | words[2] | words[3]) & highBits) break;
    place += 32;
  }
  while (end - place >= 8) {
    std::uint64_t word;
    std::memcpy(&word, place, sizeof word);
    if (word & highBits) break;
    place += 8;
  }
  while (place < end && *place < 0x80) ++place;
  return place;
}

constexpr bool isTail(Byte byte) { return (byte & 0xC0) == 0x80; }

/// U+4000 to U+9FFF, the ideographs and the hexagrams among them: lead bytes E4 to E9, of which
/// every sequence is well-formed and every code point is plain.
bool isIdeograph(const Byte* place) {
  return (static_cast<Byte>(place[0] - 0xE4) < 6) & isTail(place[1]) & isTail(place[2]);
}

const Byte* skipIdeographs(const Byte* place, const Byte* end) {
  while (end - place >= 12 && (isIdeograph(place) & isIdeograph(place + 3) &
                               isIdeograph(place + 6) & isIdeograph(place + 9))) {
    place += 12;
  }
  while (end - place >= 3 && isIdeograph(place)) place += 3;
  return place;
}

struct TailBounds {
  Byte low;
  Byte high;
};

/// The range of the second byte, narrower after some lead bytes (table 3-7).
TailBounds secondByteBounds(Byte lead) {
  if (lead == 0xE0) return {0xA0, 0xBF};
  if (lead == 0xED) return {0x80, 0x9F};
  if (lead == 0xF0) return {0x90, 0xBF};
  if (lead == 0xF4) return {0x80, 0x8F};
  return {0x80, 0xBF};
}

std::size_t sequenceLength(Byte lead) {
  if (lead >= 0xC2 && lead <= 0xDF) return 2;
  if (lead >= 0xE0 && lead <= 0xEF) return 3;
  if (lead >= 0xF0 && lead <= 0xF4) return 4;
  return 0;
}

struct Sequence {
  /// Bytes that belong together; of a malformed sequence its maximal subpart, at least one.
  std::size_t length = 1;
  bool isWellFormed = false;
};

Sequence sequenceAt(const Byte* place, const Byte* end) {
  const std::size_t wanted = sequenceLength(*place);
  if (wanted == 0) return {};
  const auto bounds = secondByteBounds(*place);
  std::size_t length = 1;
  while (length < wanted && place + length < end) {
    const Byte byte = place[length];
    const bool fits = length == 1 ? byte >= bounds.low && byte <= bounds.high : isTail(byte);
    if (!fits) break;
    ++length;
  }
  return {length, length == wanted};
}

std::string_view asChars(const Byte* from, const Byte* to) {
  return {reinterpret_cast<const char*>(from), static_cast<std::size_t>(to - from)};
}

}  // namespace

Utf8Scan scanUtf8(std::string_view bytes) {
  const auto* const start = reinterpret_cast<const Byte*>(bytes.data());
  const auto* const end = start + bytes.size();
  Utf8Scan scan;
  const auto* place = start;
  while (place < end) {
    if (*place < 0x80) {
      place = skipAscii(place, end);
    } else if (const auto* const next = skipIdeographs(place, end); next != place) {
      place = next;
    } else {
      const auto sequence = sequenceAt(place, end);
      if (!sequence.isWellFormed) break;
      if (scan.trait != CodePointTrait::complex) {
        const auto decoded = decodeUtf8(asChars(place, end), 0);
        scan.trait = std::max(scan.trait, traitOf(decoded.codePoint));
      }
      place += sequence.length;
    }
  }
  scan.validLength = static_cast<std::size_t>(place - start);
  return scan;
}

std::string repairUtf8(std::string_view bytes) {
  std::string repaired;
  repaired.reserve(bytes.size() + 16);
  const auto* place = reinterpret_cast<const Byte*>(bytes.data());
  const auto* const end = place + bytes.size();
  while (place < end) {
    const auto valid = scanUtf8(asChars(place, end)).validLength;
    repaired.append(asChars(place, place + valid));
    place += valid;
    if (place == end) break;
    repaired.append("\uFFFD");
    place += sequenceAt(place, end).length;
  }
  return repaired;
}

void appendUtf8(std::string& text, char32_t codePoint) {
  Byte bytes[4];
  std::int32_t length = 0;
  U8_APPEND_UNSAFE(bytes, length, codePoint);
  text.append(asChars(bytes, bytes + length));
}

}  // namespace stowboard
