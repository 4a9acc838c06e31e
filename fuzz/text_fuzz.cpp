#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utf8.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "Base/Unicode/CaseFolding.h"
#include "Base/Unicode/SearchQuery.h"
#include "Base/Unicode/Text.h"

namespace {

using namespace stowboard;

void require(bool holds) {
  if (!holds) std::abort();
}

bool isValid(std::string_view bytes) {
  const auto size = static_cast<std::int32_t>(bytes.size());
  for (std::int32_t place = 0; place < size;) {
    UChar32 codePoint;
// ICU's macro narrows.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
    U8_NEXT(bytes.data(), place, size, codePoint);
#pragma GCC diagnostic pop
    if (codePoint < 0) return false;
  }
  return true;
}

std::string normalised(const icu::Normalizer2* form, std::string_view text) {
  UErrorCode status = U_ZERO_ERROR;
  std::string result;
  form->normalize(icu::UnicodeString::fromUTF8(
                      icu::StringPiece(text.data(), static_cast<std::int32_t>(text.size()))),
                  status)
      .toUTF8String(result);
  return result;
}

std::string folded(std::string_view text, CaseLocale locale) {
  std::string result;
  foldSegment(icu::UnicodeString::fromUTF8(std::string(text)), locale).toUTF8String(result);
  return result;
}

/// Folds the whole and compares at every place.
bool containsSlowly(std::string_view text, std::string_view part, CaseLocale locale) {
  const auto haystack = icu::UnicodeString::fromUTF8(folded(text, locale));
  const auto needle = icu::UnicodeString::fromUTF8(folded(part, locale));
  for (std::int32_t place = 0; (place = haystack.indexOf(needle, place)) >= 0; ++place) {
    const auto end = place + needle.length();
    if (end == haystack.length() || u_getCombiningClass(haystack.char32At(end)) == 0) return true;
  }
  return false;
}

bool hasSpaceAtAnEnd(std::string_view text) {
  const auto utf16 = icu::UnicodeString::fromUTF8(std::string(text));
  return utf16.isEmpty() || u_isUWhiteSpace(utf16.char32At(0)) ||
         u_isUWhiteSpace(utf16.char32At(utf16.length() - 1));
}

void checkSearch(const Text& text, const Text& nfd, const Text& part, const char* locale) {
  const SearchQuery query(part.view(), locale);
  require(text.contains(query) == nfd.contains(query));
  require(text.contains(SearchQuery(text.view(), locale)));
  if (hasSpaceAtAnEnd(part.view())) return;
  require(text.contains(query) == containsSlowly(text.view(), part.view(), caseLocaleOf(locale)));
}

}  // namespace

/// The first byte says how many of the others, from their start, are the query. No more of them
/// than are folded and normalised in one piece.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0 || size > 1000) return 0;
  const std::string bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
  const auto part = std::string_view(bytes).substr(0, data[0]);
  require(Text::fromUtf8(Bytes(bytes)).has_value() == isValid(bytes));
  const Text text(bytes);
  require(isValid(text.view()));

  UErrorCode status = U_ZERO_ERROR;
  const Text nfd(normalised(icu::Normalizer2::getNFDInstance(status), text.view()));
  require(text == nfd && nfd == text);
  const Text repaired{std::string(part)};
  require((repaired == text) ==
          (normalised(icu::Normalizer2::getNFDInstance(status), repaired.view()) == nfd.view()));
  for (const char* const locale : {"en", "tr", "lt"}) checkSearch(text, nfd, repaired, locale);

  const auto prefix = text.prefix(60);
  require(text.view().starts_with(prefix) && isValid(prefix));
  return 0;
}
