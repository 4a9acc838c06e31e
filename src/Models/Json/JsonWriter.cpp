#include "Models/Json/JsonWriter.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

#include "Models/Json/Base64.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace stowboard {

namespace {

bool needsEscape(unsigned char character) {
  return character < 0x20 || character == '"' || character == '\\';
}

#if defined(__SSE2__)

constexpr std::size_t blockSize = 16;

// Copies a block of blockSize bytes; returns how many of them precede the first to escape.
std::size_t copyBlock(const char* in, char* out) {
  const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(out), block);
  const __m128i lastControl = _mm_set1_epi8(0x1F);
  const __m128i special = _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(block, _mm_set1_epi8('"')),
                                                    _mm_cmpeq_epi8(block, _mm_set1_epi8('\\'))),
                                       _mm_cmpeq_epi8(_mm_min_epu8(block, lastControl), block));
  const int mask = _mm_movemask_epi8(special);
  return mask == 0 ? blockSize : static_cast<std::size_t>(__builtin_ctz(mask));
}

#else

constexpr std::size_t blockSize = 1;

std::size_t copyBlock(const char* in, char* out) {
  *out = *in;
  return needsEscape(static_cast<unsigned char>(*in)) ? 0 : 1;
}

#endif

char shortEscape(unsigned char character) {
  switch (character) {
    case '"':
      return '"';
    case '\\':
      return '\\';
    case '\b':
      return 'b';
    case '\f':
      return 'f';
    case '\n':
      return 'n';
    case '\r':
      return 'r';
    case '\t':
      return 't';
    default:
      return 0;
  }
}

}  // namespace

JsonWriter::JsonWriter(const JsonSink& sink)
    : sink_(sink), buffer_(std::make_unique_for_overwrite<std::array<char, capacity>>()) {}

void JsonWriter::flush() {
  if (used_ != 0 && !failed_) failed_ = !sink_({buffer_->data(), used_});
  used_ = 0;
}

void JsonWriter::makeRoom(std::size_t size) {
  if (room() < size) flush();
}

void JsonWriter::raw(std::string_view json) {
  while (!json.empty()) {
    makeRoom(1);
    const std::size_t count = std::min(json.size(), room());
    std::memcpy(end(), json.data(), count);
    used_ += count;
    json.remove_prefix(count);
  }
}

// Copies up to the first character to escape, or to the end; returns the rest. Needs no more room
// than makeRoom() can give.
std::string_view JsonWriter::copyUnescaped(std::string_view utf8) {
  while (utf8.size() >= blockSize) {
    makeRoom(blockSize);
    const std::size_t count = copyBlock(utf8.data(), end());
    used_ += count;
    utf8.remove_prefix(count);
    if (count < blockSize) return utf8;
  }
  const auto* stop = std::find_if(utf8.begin(), utf8.end(), [](char character) {
    return needsEscape(static_cast<unsigned char>(character));
  });
  raw({utf8.begin(), stop});
  return {stop, utf8.end()};
}

void JsonWriter::escape(unsigned char character) {
  if (const char letter = shortEscape(character)) {
    const std::array<char, 2> pair{'\\', letter};
    raw({pair.data(), pair.size()});
  } else {
    raw(fmt::format("\\u{:04x}", character));
  }
}

void JsonWriter::string(std::string_view utf8) {
  raw("\"");
  while (!failed_) {
    utf8 = copyUnescaped(utf8);
    if (utf8.empty()) break;
    escape(static_cast<unsigned char>(utf8.front()));
    utf8.remove_prefix(1);
  }
  raw("\"");
}

void JsonWriter::base64(std::string_view bytes) {
  // A piece is a multiple of three bytes, so that only the last one is padded.
  constexpr std::size_t pieceSize = std::size_t{48} * 1024;
  raw("\"");
  while (!bytes.empty() && !failed_) {
    const std::string_view piece = bytes.substr(0, pieceSize);
    makeRoom(base64Size(piece.size()));
    used_ = encodeBase64(piece, end()) - buffer_->data();
    bytes.remove_prefix(piece.size());
  }
  raw("\"");
}

void JsonWriter::number(double value) {
  std::array<char, 32> digits{};
  const double finite = std::isfinite(value) ? value : 0;
  const auto written = std::to_chars(digits.data(), digits.data() + digits.size(), finite);
  raw({digits.data(), written.ptr});
}

bool JsonWriter::finish() {
  flush();
  return !failed_;
}

}  // namespace stowboard
