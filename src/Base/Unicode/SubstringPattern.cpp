#include "Base/Unicode/SubstringPattern.h"

#include <bit>
#include <cstdint>
#include <cstring>
#include <utility>

namespace stowboard {

namespace {

/// The compiler's vector type: SSE2 on x86-64, NEON on ARM, plain words elsewhere.
using Vector = unsigned char __attribute__((vector_size(16)));

Vector load(const char* place) {
  Vector vector;
  std::memcpy(&vector, place, sizeof vector);
  return vector;
}

Vector filledWith(char byte) { return Vector{} + static_cast<unsigned char>(byte); }

/// 0xFF where the text has the byte, once the bits for its case are set, else 0.
Vector equals(const char* text, char byte, char caseBits) {
  return reinterpret_cast<Vector>((load(text) | filledWith(caseBits)) == filledWith(byte));
}

std::uint64_t littleEndian(std::uint64_t word) {
  return std::endian::native == std::endian::big ? __builtin_bswap64(word) : word;
}

bool isLetter(char byte) { return byte >= 'a' && byte <= 'z'; }

/// How often a byte occurs in text, by rough experience: the higher, the more often.
int frequency(char signedByte) {
  const auto byte = static_cast<unsigned char>(signedByte);
  constexpr std::string_view letters = "zqxjkvbpygfwmucldrhsnioate";
  if (isLetter(signedByte)) return 40 + 6 * static_cast<int>(letters.find(signedByte));
  if (byte == ' ') return 250;
  if (byte < 0x80) return 30;
  // Lead bytes stand before every letter of a script, and 80 and BC in its punctuation.
  if (byte >= 0xC0) return 240;
  return byte == 0x80 || byte == 0xBC || byte == 0x9F ? 150 : 60;
}

}  // namespace

SubstringPattern::SubstringPattern(std::string lowerCase, std::string_view exact)
    : bytes_(std::move(lowerCase)) {
  caseBits_.reserve(bytes_.size());
  for (const char byte : bytes_) {
    const bool hasCapital = isLetter(byte) && exact.find(byte) == std::string_view::npos;
    caseBits_.push_back(hasCapital ? 0x20 : 0);
  }
  chooseBytesToLookFor();
}

void SubstringPattern::chooseBytesToLookFor() {
  const auto frequencyAt = [this](std::size_t place) { return frequency(bytes_[place]); };
  for (std::size_t place = 1; place < bytes_.size(); ++place) {
    if (frequencyAt(place) < frequencyAt(rarest_)) rarest_ = place;
  }
  secondRarest_ = rarest_ == 0 && bytes_.size() > 1 ? 1 : 0;
  for (std::size_t place = secondRarest_; place < bytes_.size(); ++place) {
    // Among equals the last: two bytes of one letter often come together, those of two do not.
    const bool isAsRare = frequencyAt(place) <= frequencyAt(secondRarest_);
    if (place != rarest_ && isAsRare) secondRarest_ = place;
  }
}

bool SubstringPattern::occursAt(const char* place) const {
  for (std::size_t index = 0; index < bytes_.size(); ++index) {
    if ((place[index] | caseBits_[index]) != bytes_[index]) return false;
  }
  return true;
}

std::size_t SubstringPattern::firstOccurrence(const char* block, const Marks& marks) const {
  for (std::size_t index = 0; index < marks.size(); ++index) {
    for (auto word = littleEndian(marks[index]); word != 0; word &= word - 1) {
      const auto offset =
          index * sizeof word + static_cast<std::size_t>(std::countr_zero(word)) / 8;
      if (occursAt(block + offset)) return offset;
    }
  }
  return none;
}

std::size_t SubstringPattern::findInBlock(const char* block) const {
  Marks marks;
  std::uint64_t any = 0;
  for (std::size_t index = 0; index < marks.size(); index += 2) {
    const char* const place = block + index * sizeof marks[0];
    const auto candidates =
        equals(place + rarest_, bytes_[rarest_], caseBits_[rarest_]) &
        equals(place + secondRarest_, bytes_[secondRarest_], caseBits_[secondRarest_]);
    const Vector oneBitEach = candidates & filledWith(1);
    std::memcpy(&marks[index], &oneBitEach, sizeof oneBitEach);
    any |= marks[index] | marks[index + 1];
  }
  return any == 0 ? none : firstOccurrence(block, marks);
}

std::size_t SubstringPattern::findIn(std::string_view text, std::size_t from) const {
  if (text.size() < bytes_.size()) return none;
  const std::size_t places = text.size() - bytes_.size() + 1;
  std::size_t place = from;
  for (; place + blockSize <= places; place += blockSize) {
    const auto offset = findInBlock(text.data() + place);
    if (offset != none) return place + offset;
  }
  for (; place < places; ++place) {
    if (occursAt(text.data() + place)) return place;
  }
  return none;
}

}  // namespace stowboard
