#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Base/Unicode/Text.h"
#include "Platform/Clipboard/TargetPolicy.h"

namespace stowboard {

std::string latin1ToUtf8(std::string_view latin1);

/// Compound Text (X Consortium standard, version 1.1) as UTF-8. Absent when it uses a character set
/// beyond the standard's ISO 8859 and two-byte Asian sets and the UTF-8 segments that came later,
/// or breaks its own rules.
std::optional<std::string> compoundTextToUtf8(std::string_view compound);

/// The text that the bytes stand for. Bytes that do not keep to their encoding become U+FFFD, so
/// that a copy is never lost to them. One NUL at the end, which some owners send along, is dropped.
Text decodedText(std::string content, TextEncoding encoding);

}  // namespace stowboard
