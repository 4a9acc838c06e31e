#pragma once

#include <cstddef>
#include <string_view>
#include <utility>
#include <vector>

#include "Base/Unicode/CaseFolding.h"
#include "Base/Unicode/SubstringPattern.h"

namespace stowboard {

/// A text to look for, prepared once and matched against many texts.
///
/// Matching disregards case under a locale (the Turkish and Azerbaijani dotted and dotless i and
/// the Lithuanian retained dot included) and is by canonical equivalence: é typed either way finds
/// é stored either way. Diacritics count: a plain e does not find é. Character width counts. White
/// space at both ends (Unicode White_Space and line breaks) is dropped; white space inside must
/// match.
class SearchQuery {
 public:
  /// `locale` is an ICU or POSIX locale name; empty means the user's current locale
  /// (LC_ALL, LC_CTYPE or LANG). Malformed UTF-8 is repaired as in Text.
  explicit SearchQuery(std::string_view utf8, std::string_view locale = {});

  /// The stretches of a valid UTF-8 text that the query occurs in, from and to a byte, in order and
  /// apart from each other; each widened to whole user-perceived characters. For short texts.
  std::vector<std::pair<std::size_t, std::size_t>> placesIn(std::string_view text) const;

  /// True when nothing is left after dropping the white space at both ends.
  bool empty() const { return pattern_.empty(); }

 private:
  friend class Text;
  /// The first place at or after `from` in a folded text, or `SubstringPattern::none`.
  std::size_t findIn(std::string_view folded, std::size_t from) const;

  CaseLocale locale_;
  /// The folded query.
  SubstringPattern pattern_;
  /// Whether a text of plain code points can be searched as it is.
  bool plainTextIsExact_ = true;
};

}  // namespace stowboard
