#pragma once

#include <string_view>

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

  /// True when nothing is left after dropping the white space at both ends.
  bool empty() const { return pattern_.empty(); }

 private:
  friend class Text;
  CaseLocale locale_;
  /// The folded query.
  SubstringPattern pattern_;
  /// Whether a text of plain code points can be searched as it is.
  bool plainTextIsExact_ = true;
};

}  // namespace stowboard
