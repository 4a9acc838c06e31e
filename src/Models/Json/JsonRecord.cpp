#include "Models/Json/JsonRecord.h"

#include "Base/Unicode/Text.h"
#include "Base/Unicode/Utf8.h"

namespace stowboard {

std::string quotedKey(std::string_view key) {
  constexpr std::size_t longestShown = 40;
  const Text text{std::string(key)};
  return fmt::format("\"{}\"", text.prefix(longestShown));
}

bool isUtf8(std::string_view text) { return scanUtf8(text).validLength == text.size(); }

}  // namespace stowboard
