#pragma once

#include <unicode/unistr.h>

#include <cstdint>
#include <string_view>

namespace stowboard {

/// The classes of locales that differ in which letters are the same but for their case
/// (Unicode SpecialCasing.txt).
enum class CaseLocale : std::uint8_t {
  root,
  /// Turkish and Azerbaijani: I pairs with ı, and İ with i.
  turkic,
  /// Lithuanian: a lower-case i or j keeps its dot, as U+0307, below further accents.
  lithuanian,
};

/// The class of an ICU, POSIX or BCP 47 locale name; empty means the user's, from the first of the
/// environment variables LC_ALL, LC_CTYPE and LANG that is set and not empty.
CaseLocale caseLocaleOf(std::string_view name);

/// A part of a text that begins where no composition reaches across, in the form in which two texts
/// that differ in case only, or in canonically equivalent encodings, are the same: full case
/// folding between NFD and NFC (Unicode 3.13, D145).
icu::UnicodeString foldSegment(const icu::UnicodeString& segment, CaseLocale locale);

}  // namespace stowboard
