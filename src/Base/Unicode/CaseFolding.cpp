#include "Base/Unicode/CaseFolding.h"

#include <unicode/uchar.h>

#include <utility>

#include "Base/Unicode/CodePointTrait.h"
#include "Base/Unicode/Utf8.h"

namespace stowboard {

namespace {

/// Folds a text piece by piece: what is its own folded form is copied, single letters are mapped,
/// and ICU is asked only about the short stretches around a complex code point.
class TextFolder {
 public:
  TextFolder(std::string_view input, CaseLocale locale) : input_(input), locale_(locale) {
    output_.reserve(input.size());
  }

  std::string fold() && {
    while (place_ < input_.size()) {
      const auto decoded = decodeUtf8(input_, place_);
      const auto trait = traitOf(decoded.codePoint);
      if (trait == CodePointTrait::complex) {
        foldStretch();
      } else {
        appendSingle(decoded, trait);
      }
    }
    return std::move(output_);
  }

 private:
  void appendSingle(const DecodedCodePoint& decoded, CodePointTrait trait) {
    stretchInput_ = place_;
    stretchOutput_ = output_.size();
    if (locale_ == CaseLocale::turkic && decoded.codePoint == U'I') {
      appendUtf8(output_, U'ı');
    } else if (decoded.codePoint >= U'A' && decoded.codePoint <= U'Z') {
      output_.push_back(static_cast<char>(decoded.codePoint | 0x20));
    } else if (trait == CodePointTrait::plain) {
      output_.append(input_, place_, decoded.length);
    } else {
      const auto codePoint = static_cast<UChar32>(decoded.codePoint);
      appendUtf8(output_, static_cast<char32_t>(u_foldCase(codePoint, U_FOLD_CASE_DEFAULT)));
    }
    place_ += decoded.length;
  }

  /// Takes the letter before it along, since marks combine with that.
  void foldStretch() {
    skipComplex();
    const auto stretch = input_.substr(stretchInput_, place_ - stretchInput_);
    const auto utf16 = icu::UnicodeString::fromUTF8(
        icu::StringPiece(stretch.data(), static_cast<std::int32_t>(stretch.size())));
    output_.resize(stretchOutput_);
    foldSegment(utf16, locale_).toUTF8String(output_);
    stretchInput_ = place_;
    stretchOutput_ = output_.size();
  }

  void skipComplex() {
    for (std::size_t count = 0; place_ < input_.size() && count < longestStretch; ++count) {
      const auto decoded = decodeUtf8(input_, place_);
      if (traitOf(decoded.codePoint) != CodePointTrait::complex) return;
      place_ += decoded.length;
    }
  }

  std::string_view input_;
  CaseLocale locale_;
  std::string output_;
  std::size_t place_ = 0;
  std::size_t stretchInput_ = 0;
  std::size_t stretchOutput_ = 0;
};

}  // namespace

std::string foldCase(std::string_view utf8, CaseLocale locale) {
  return TextFolder(utf8, locale).fold();
}

}  // namespace stowboard
