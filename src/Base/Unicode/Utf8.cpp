#include "Base/Unicode/Utf8.h"

#include <unicode/utf8.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

namespace stowboard {

namespace {

using Byte = unsigned char;

const Byte* skipAscii(const Byte* place, const Byte* end) {
  constexpr std::uint64_t highBits = 0x8080808080808080;
  while (end - place >= 32) {
    std::array<std::uint64_t, 4> words;
    std::memcpy(words.data(), place, sizeof words);
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

/// The compiler's vector type: SSE2 on x86-64, NEON on ARM, plain words elsewhere. Comparing gives
/// 0xFF where it holds, else 0.
using Vector = Byte __attribute__((vector_size(16)));
constexpr std::ptrdiff_t blockSize = sizeof(Vector);

Vector load(const Byte* place) {
  Vector vector;
  std::memcpy(&vector, place, sizeof vector);
  return vector;
}

Vector isIn(Vector bytes, Byte low, Byte high) {
  return reinterpret_cast<Vector>(bytes - low <= static_cast<Byte>(high - low));
}

Vector is(Vector bytes, Byte byte) { return reinterpret_cast<Vector>(bytes == byte); }

bool isAnySet(Vector vector) {
  std::array<std::uint64_t, 2> halves;
  std::memcpy(halves.data(), &vector, sizeof halves);
  return (halves[0] | halves[1]) != 0;
}

/// The bytes of a block, with those one and two places before each.
struct Neighbours {
  Vector current;
  Vector previous;
  Vector beforePrevious;
};

/// Bytes at which the block is malformed, or may be: the lead bytes that allow only some second
/// bytes, and those of four-byte sequences, are left to the closer look.
Vector suspicious(const Neighbours& bytes) {
  const auto isLeadOfTwoOrMore = isIn(bytes.previous, 0xC2, 0xEF);
  const auto isLeadOfThree = isIn(bytes.beforePrevious, 0xE1, 0xEF);
  const auto mustBeTail = isLeadOfTwoOrMore | isLeadOfThree;
  const auto isOddLead = isIn(bytes.current, 0xC0, 0xC1) | is(bytes.current, 0xE0) |
                         is(bytes.current, 0xED) | isIn(bytes.current, 0xF0, 0xFF);
  return (isIn(bytes.current, 0x80, 0xBF) ^ mustBeTail) | isOddLead;
}

/// Bytes at which the trait of a code point may be above `known`. Tells the common letters of
/// Latin, Cyrillic, Chinese, Japanese and Korean text apart; the others get the closer look. A test
/// holds these ranges against ICU's properties.
template <CodePointTrait known>
Vector unclassified(const Neighbours& bytes) {
  if constexpr (known == CodePointTrait::complex) return Vector{};
  const auto [third, second, first] = bytes;
  const auto isKnownLead = isIn(third, 0xE2, 0xE9) | isIn(third, 0xEB, 0xEC) | is(third, 0xEF) |
                           isIn(third, 0xC2, 0xC3) | isIn(third, 0xD0, 0xD1);
  auto unknown = isIn(third, 0xC0, 0xFF) & ~isKnownLead;
  // U+2002 to U+203F and U+FF00 to U+FF3F, small letters among them.
  unknown |= is(second, 0xE2) & ~is(third, 0x80);
  unknown |= is(first, 0xE2) & isIn(third, 0x80, 0x81);
  unknown |= is(second, 0xEF) & ~is(third, 0xBC);
  // Tone marks and the combining voicing marks among kana and their punctuation.
  unknown |= is(first, 0xE3) & is(second, 0x80) & isIn(third, 0xAA, 0xAF);
  unknown |= is(first, 0xE3) & is(second, 0x82) & isIn(third, 0x99, 0x9A);
  if constexpr (known == CodePointTrait::plain) {
    unknown |= is(first, 0xEF) & isIn(third, 0xA1, 0xBA);
    unknown |= is(second, 0xC2) & is(third, 0xB5);
    unknown |= is(second, 0xC3) & isIn(third, 0x80, 0x9F);
    unknown |= is(second, 0xD0) & isIn(third, 0x80, 0xAF);
    unknown |= is(second, 0xD1) & isIn(third, 0xA0, 0xBF);
  } else {
    unknown |= is(second, 0xC3) & is(third, 0x9F);
  }
  return unknown;
}

/// Nothing comes before the first block: a code point starts there.
Neighbours firstNeighbours(const Byte* block) {
  std::array<Byte, 2 + blockSize> padded = {};
  std::memcpy(padded.data() + 2, block, blockSize);
  return {load(padded.data() + 2), load(padded.data() + 1), load(padded.data())};
}

/// The start of the code point, if any, that is cut by `place`.
const Byte* uncut(const Byte* place, const Byte* start) {
  if (place - start >= 1 && place[-1] >= 0xC0) return place - 1;
  if (place - start >= 2 && place[-2] >= 0xE0) return place - 2;
  return place;
}

/// Passes over whole blocks that are well-formed and, at a glance, of no higher trait than known.
/// Ends at the start of a code point.
template <CodePointTrait known>
const Byte* skipFamiliar(const Byte* const start, const Byte* end) {
  const auto* place = start;
  while (end - place >= blockSize) {
    const auto bytes = place == start ? firstNeighbours(place)
                                      : Neighbours{load(place), load(place - 1), load(place - 2)};
    if (isAnySet(suspicious(bytes) | unclassified<known>(bytes))) break;
    place += blockSize;
  }
  return uncut(place, start);
}

const Byte* skipFamiliar(CodePointTrait known, const Byte* place, const Byte* end) {
  switch (known) {
    case CodePointTrait::plain:
      return skipFamiliar<CodePointTrait::plain>(place, end);
    case CodePointTrait::cased:
      return skipFamiliar<CodePointTrait::cased>(place, end);
    case CodePointTrait::complex:
      break;
  }
  return skipFamiliar<CodePointTrait::complex>(place, end);
}

struct Sequence {
  /// Bytes that belong together; of a malformed sequence its maximal subpart, at least one.
  std::size_t length = 0;
  /// Negative when the sequence is malformed.
  UChar32 codePoint = 0;
};

Sequence sequenceAt(const Byte* place, const Byte* end) {
  // Longer than any sequence; the text itself may be longer than ICU can count.
  const auto limit = static_cast<std::int32_t>(std::min<std::ptrdiff_t>(8, end - place));
  std::int32_t length = 0;
  UChar32 codePoint = 0;
  U8_NEXT(place, length, limit, codePoint);
  return {static_cast<std::size_t>(length), codePoint};
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
    place = skipFamiliar(scan.trait, skipAscii(place, end), end);
    const auto* const closeEnd = place + std::min<std::ptrdiff_t>(2 * blockSize, end - place);
    while (place < closeEnd) {
      const auto sequence = sequenceAt(place, end);
      if (sequence.codePoint < 0) return {static_cast<std::size_t>(place - start), scan.trait};
      if (scan.trait != CodePointTrait::complex)
        scan.trait = std::max(scan.trait, traitOf(static_cast<char32_t>(sequence.codePoint)));
      place += sequence.length;
    }
  }
  scan.validLength = bytes.size();
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
  std::array<Byte, 4> bytes;
  std::int32_t length = 0;
  U8_APPEND_UNSAFE(bytes, length, codePoint);
  text.append(asChars(bytes.data(), bytes.data() + length));
}

}  // namespace stowboard
