#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Base/Unicode/Text.h"

namespace stowboard {

/// How the bytes of a text target are to be understood.
enum class TextEncoding {
  utf8,
  /// No charset was named: UTF-8 when the bytes are, else Latin-1.
  unstated,
  latin1,
  /// X Consortium standard, version 1.1, with the UTF-8 segments that came later.
  compoundText,
};

/// The text that the bytes stand for. Bytes that do not keep to their encoding become U+FFFD, so
/// that a copy is never lost to them. One NUL at the end, which some owners send along, is dropped.
Text decodedText(std::string content, TextEncoding encoding);

/// Absent when the text uses a character set beyond the standard's ISO 8859 and two-byte Asian sets
/// and the UTF-8 segments, or breaks the encoding's rules.
std::optional<std::string> compoundTextToUtf8(std::string_view compound);

/// What Latin-1 cannot hold goes into UTF-8 segments. Absent when the text holds an escape
/// character, which the encoding keeps for itself.
std::optional<std::string> utf8ToCompoundText(std::string_view utf8);

/// True when every character of the UTF-8 text is one of Latin-1 (U+0000 to U+00FF).
bool fitsLatin1(std::string_view utf8);

/// Absent when a character is none of Latin-1.
std::optional<std::string> utf8ToLatin1(std::string_view utf8);

}  // namespace stowboard
