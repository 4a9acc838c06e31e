#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace stowboard {

/// True when every character of the UTF-8 text is one of Latin-1 (U+0000 to U+00FF).
bool fitsLatin1(std::string_view utf8);

/// Absent when a character is none of Latin-1.
std::optional<std::string> utf8ToLatin1(std::string_view utf8);

/// Compound Text (X Consortium standard, version 1.1). What Latin-1 cannot hold goes into the UTF-8
/// segments that came later. Absent when the text holds an escape character, which the encoding
/// keeps for itself.
std::optional<std::string> utf8ToCompoundText(std::string_view utf8);

}  // namespace stowboard
