#include "Base/Unicode/SearchQuery.h"

#include <unicode/uchar.h>

#include <string>

#include "Base/Unicode/Utf8.h"

namespace stowboard {

namespace {

bool isWhiteSpaceAt(std::string_view valid, std::size_t place) {
  return u_isUWhiteSpace(static_cast<UChar32>(decodeUtf8(valid, place).codePoint));
}

std::string_view trim(std::string_view valid) {
  std::size_t start = 0;
  while (start < valid.size() && isWhiteSpaceAt(valid, start)) {
    start += decodeUtf8(valid, start).length;
  }
  valid.remove_prefix(start);
  while (!valid.empty()) {
    const auto last = codePointStart(valid, valid.size() - 1);
    if (!isWhiteSpaceAt(valid, last)) break;
    valid = valid.substr(0, last);
  }
  return valid;
}

}  // namespace

SearchQuery::SearchQuery(std::string_view utf8, std::string_view locale)
    : locale_(caseLocaleOf(locale)) {
  const auto valid = repairUtf8(utf8);
  auto folded = foldCase(trim(valid), locale_);
  // In Turkish a small i is not the I of plain text; its ı is, but in other bytes.
  const bool isTurkic = locale_ == CaseLocale::turkic;
  plainTextIsExact_ = !isTurkic || folded.find("ı") == std::string::npos;
  pattern_ = SubstringPattern(std::move(folded), isTurkic ? "i" : "");
}

}  // namespace stowboard
