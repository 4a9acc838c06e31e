#include "Platform/Clipboard/TextEncoding.h"

#include <algorithm>

#include "Base/Unicode/Utf8.h"

namespace stowboard {

bool fitsLatin1(std::string_view utf8) {
  // U+00FF begins with C3; the bytes in the middle of a character are all below.
  return std::ranges::all_of(utf8, [](char c) { return static_cast<unsigned char>(c) < 0xC4; });
}

std::optional<std::string> utf8ToLatin1(std::string_view utf8) {
  if (!fitsLatin1(utf8)) return std::nullopt;
  std::string latin1;
  latin1.reserve(utf8.size());
  for (std::size_t place = 0; place < utf8.size();) {
    const auto [codePoint, length] = decodeUtf8(utf8, place);
    latin1 += static_cast<char>(codePoint);
    place += length;
  }
  return latin1;
}

std::optional<std::string> utf8ToCompoundText(std::string_view utf8) {
  if (utf8.find('\x1b') != std::string_view::npos) return std::nullopt;
  if (auto latin1 = utf8ToLatin1(utf8)) return latin1;
  return "\x1b%G" + std::string(utf8) + "\x1b%@";
}

}  // namespace stowboard
