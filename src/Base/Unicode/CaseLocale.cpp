#include "Base/Unicode/CaseLocale.h"

#include <unicode/normalizer2.h>
#include <unicode/uchar.h>

#include <algorithm>
#include <cstdlib>

namespace stowboard {

namespace {

constexpr char16_t dotAbove = 0x0307;
constexpr std::uint8_t classAbove = 230;

std::string_view userLocale() {
  for (const char* const name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
    const char* const value = std::getenv(name);
    if (value && *value) return value;
  }
  return {};
}

/// The place of the next code point that stands above its base or is a new base; marks of other
/// classes do not come between a letter and its dot.
std::int32_t nextAboveOrBase(const icu::UnicodeString& text, std::int32_t place) {
  while (place < text.length()) {
    const auto combiningClass = u_getCombiningClass(text.char32At(place));
    if (combiningClass == 0 || combiningClass == classAbove) break;
    place = text.moveIndex32(place, 1);
  }
  return place;
}

/// Turkish capital I with a dot, however it is encoded, is the capital of i (context Before_Dot).
void pairDottedCapitals(icu::UnicodeString& decomposed) {
  for (std::int32_t place = 0; (place = decomposed.indexOf(u'I', place)) >= 0; ++place) {
    const auto dot = nextAboveOrBase(decomposed, place + 1);
    if (dot >= decomposed.length() || decomposed.charAt(dot) != dotAbove) continue;
    decomposed.setCharAt(place, u'i');
    decomposed.remove(dot, 1);
  }
}

/// A dot that Lithuanian keeps below further accents has no counterpart in the capital (contexts
/// After_Soft_Dotted and More_Above).
void dropRetainedDots(icu::UnicodeString& decomposed) {
  for (std::int32_t place = 0; place < decomposed.length(); ++place) {
    const auto letter = decomposed.charAt(place);
    if (letter != u'i' && letter != u'j') continue;
    const auto dot = nextAboveOrBase(decomposed, place + 1);
    if (dot >= decomposed.length() || decomposed.charAt(dot) != dotAbove) continue;
    const auto accent = nextAboveOrBase(decomposed, dot + 1);
    const bool isRetained = accent < decomposed.length() &&
                            u_getCombiningClass(decomposed.char32At(accent)) == classAbove;
    if (isRetained) decomposed.remove(dot, 1);
  }
}

}  // namespace

CaseLocale caseLocaleOf(std::string_view name) {
  const auto locale = name.empty() ? userLocale() : name;
  const auto language = locale.substr(0, locale.find_first_of("_-.@"));
  const auto isAnyOf = [&](auto... codes) {
    const auto equals = [&](std::string_view code) {
      return std::ranges::equal(language, code, {}, [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter | 0x20) : letter;
      });
    };
    return (equals(codes) || ...);
  };
  if (isAnyOf("tr", "tur", "az", "aze")) return CaseLocale::turkic;
  if (isAnyOf("lt", "lit")) return CaseLocale::lithuanian;
  return CaseLocale::root;
}

icu::UnicodeString foldSegment(const icu::UnicodeString& segment, CaseLocale locale) {
  UErrorCode status = U_ZERO_ERROR;
  const auto* nfd = icu::Normalizer2::getNFDInstance(status);
  const auto* nfc = icu::Normalizer2::getNFCInstance(status);
  auto folded = nfd->normalize(segment, status);
  if (locale == CaseLocale::turkic) {
    pairDottedCapitals(folded);
    // Whole letters, because the capital of î is Î there as well, not the ı and the circumflex that
    // folding the bare I of its decomposition would give.
    folded = nfc->normalize(folded, status);
  }
  if (locale == CaseLocale::lithuanian) dropRetainedDots(folded);
  folded.foldCase(locale == CaseLocale::turkic ? U_FOLD_CASE_EXCLUDE_SPECIAL_I
                                               : U_FOLD_CASE_DEFAULT);
  return nfc->normalize(folded, status);
}

}  // namespace stowboard
