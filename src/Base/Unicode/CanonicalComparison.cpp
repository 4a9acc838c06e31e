#include "Base/Unicode/CanonicalComparison.h"

#include <unicode/normalizer2.h>
#include <unicode/unistr.h>

#include <algorithm>

#include "Base/Unicode/CodePointTrait.h"
#include "Base/Unicode/Utf8.h"

namespace stowboard {

namespace {

bool isBoundary(std::string_view text, std::size_t place) {
  if (place == text.size()) return true;
  return traitOf(decodeUtf8(text, place).codePoint) != CodePointTrait::complex;
}

/// Reads a text in NFD, stretch by stretch; a stretch ends at a boundary.
class DecomposedReader {
 public:
  explicit DecomposedReader(std::string_view text) : text_(text) {}

  /// What is left of the stretch that was read last.
  icu::UnicodeString pending;

  std::string_view rest() const { return text_.substr(place_); }
  bool isAtEnd() const { return place_ == text_.size() && pending.isEmpty(); }

  void skip(std::size_t count) { place_ += count; }

  void readStretch() {
    const auto start = place_;
    for (std::size_t count = 0; place_ < text_.size() && count < longestStretch; ++count) {
      place_ += decodeUtf8(text_, place_).length;
      if (isBoundary(text_, place_)) break;
    }
    UErrorCode status = U_ZERO_ERROR;
    const auto* nfd = icu::Normalizer2::getNFDInstance(status);
    const auto utf16 = icu::UnicodeString::fromUTF8(
        icu::StringPiece(text_.data() + start, static_cast<std::int32_t>(place_ - start)));
    nfd->normalize(utf16, pending, status);
  }

 private:
  std::string_view text_;
  std::size_t place_ = 0;
};

/// The length of the common start of both, in whole code points. It may end between a letter and
/// its marks: what is the same in front of two rows of marks does not change whether they sort
/// alike.
std::size_t commonLength(std::string_view left, std::string_view right) {
  const auto mismatch = std::ranges::mismatch(left, right);
  const auto common = static_cast<std::size_t>(mismatch.in1 - left.begin());
  return std::min(codePointStart(left, common), codePointStart(right, common));
}

/// False when what both have read differs.
bool consumeCommon(icu::UnicodeString& left, icu::UnicodeString& right) {
  const auto count = std::min(left.length(), right.length());
  if (left.compare(0, count, right, 0, count) != 0) return false;
  left.remove(0, count);
  right.remove(0, count);
  return true;
}

}  // namespace

bool areCanonicallyEquivalent(std::string_view left, std::string_view right) {
  DecomposedReader leftReader(left);
  DecomposedReader rightReader(right);
  while (!leftReader.isAtEnd() && !rightReader.isAtEnd()) {
    if (leftReader.pending.isEmpty() && rightReader.pending.isEmpty()) {
      const auto common = commonLength(leftReader.rest(), rightReader.rest());
      leftReader.skip(common);
      rightReader.skip(common);
    }
    if (leftReader.pending.isEmpty()) leftReader.readStretch();
    if (rightReader.pending.isEmpty()) rightReader.readStretch();
    if (!consumeCommon(leftReader.pending, rightReader.pending)) return false;
  }
  return leftReader.isAtEnd() && rightReader.isAtEnd();
}

}  // namespace stowboard
