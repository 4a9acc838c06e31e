#include "Base/Unicode/SearchQuery.h"

#include <unicode/uchar.h>

#include <algorithm>
#include <string>

#include "Base/Unicode/Graphemes.h"
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

bool isFollowedByMark(std::string_view text, std::size_t place) {
  if (place == text.size()) return false;
  return u_getCombiningClass(static_cast<UChar32>(decodeUtf8(text, place).codePoint)) != 0;
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

std::size_t SearchQuery::findIn(std::string_view folded, std::size_t from) const {
  auto place = pattern_.findIn(folded, from);
  // The mark belongs to the last letter found: with it, that is another letter.
  while (place != SubstringPattern::none &&
         isFollowedByMark(folded, place + pattern_.bytes().size()))
    place = pattern_.findIn(folded, place + 1);
  return place;
}

std::vector<std::pair<std::size_t, std::size_t>> SearchQuery::placesIn(
    std::string_view text) const {
  std::vector<std::pair<std::size_t, std::size_t>> places;
  if (empty()) return places;
  // Folding does not reach across characters, so each may be folded by itself.
  std::string folded;
  std::vector<std::size_t> starts, foldedEnds;
  for (std::size_t start = 0; start < text.size();) {
    const auto character = firstGraphemes(text.substr(start), 1);
    folded += foldCase(character, locale_);
    starts.push_back(start);
    foldedEnds.push_back(folded.size());
    start += character.size();
  }
  starts.push_back(text.size());
  // The character that a byte of the folded text comes from.
  const auto characterAt = [&](std::size_t place) {
    return static_cast<std::size_t>(std::ranges::upper_bound(foldedEnds, place) -
                                    foldedEnds.begin());
  };
  for (auto place = findIn(folded, 0); place != SubstringPattern::none;) {
    const auto last = characterAt(place + pattern_.bytes().size() - 1);
    places.emplace_back(starts[characterAt(place)], starts[last + 1]);
    place = findIn(folded, foldedEnds[last]);
  }
  return places;
}

}  // namespace stowboard
