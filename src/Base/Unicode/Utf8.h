#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "Base/Unicode/CodePointTrait.h"

namespace stowboard {

struct Utf8Scan {
  /// Bytes from the start that are well-formed; all of them when the text is valid.
  std::size_t validLength = 0;
  /// The most demanding trait among those.
  CodePointTrait trait = CodePointTrait::plain;
};

/// Checks well-formedness (Unicode 3.9, table 3-7) and classifies in one pass.
Utf8Scan scanUtf8(std::string_view bytes);

/// A copy with U+FFFD for each maximal part of a malformed sequence (Unicode 3.9, "U+FFFD
/// substitution of maximal subparts").
std::string repairUtf8(std::string_view bytes);

struct DecodedCodePoint {
  char32_t codePoint = 0;
  std::size_t length = 0;
};

/// The code point at `place`, which must be the start of one in well-formed UTF-8.
inline DecodedCodePoint decodeUtf8(std::string_view valid, std::size_t place) {
  const auto byte = [&](std::size_t offset) {
    return static_cast<char32_t>(static_cast<unsigned char>(valid[place + offset]));
  };
  const auto tail = [&](std::size_t offset) { return byte(offset) & 0x3F; };
  const char32_t lead = byte(0);
  if (lead < 0x80) return {lead, 1};
  if (lead < 0xE0) return {(lead & 0x1F) << 6 | tail(1), 2};
  if (lead < 0xF0) return {(lead & 0x0F) << 12 | tail(1) << 6 | tail(2), 3};
  return {(lead & 0x07) << 18 | tail(1) << 12 | tail(2) << 6 | tail(3), 4};
}

/// Appends one Unicode scalar value.
void appendUtf8(std::string& text, char32_t codePoint);

/// The start of the code point that `place`, at most the size, falls into.
inline std::size_t codePointStart(std::string_view valid, std::size_t place) {
  while (place > 0 && place < valid.size() && (valid[place] & 0xC0) == 0x80) --place;
  return place;
}

/// How many code points in a row without a boundary are normalised together at most. Far more than
/// any writing needs (UAX #15 asks for 30 in stream-safe text); it keeps a text of nothing but
/// combining marks, which sorts in quadratic time, from holding the program.
constexpr std::size_t longestStretch = 1024;

}  // namespace stowboard
