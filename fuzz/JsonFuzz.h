#pragma once

#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include "Models/Json/JsonForm.h"

namespace stowboard {

inline void require(bool condition) {
  if (!condition) std::abort();
}

/// Hands the text over in pieces whose sizes the text itself decides.
inline JsonSource inPieces(std::string_view json) {
  return [json, step = json.size()]() mutable {
    step = step * 31 + 7;
    const std::string_view piece = json.substr(0, 1 + step % 19);
    json.remove_prefix(piece.size());
    return piece;
  };
}

template <typename Value>
std::string encoded(const Value& value) {
  std::string json;
  require(encodeJson(value, [&](std::string_view chunk) { return (json += chunk, true); }));
  return json;
}

/// What holds for any text: it reads the same in one piece and in many, an error says something,
/// and a value that was read comes back the same from what is written of it.
template <typename Decode>
void check(std::string_view json, Decode decode) {
  const auto pieces = decode(inPieces(json));
  const auto whole = decode([&] { return std::exchange(json, {}); });
  require(whole.index() == pieces.index());
  if (const auto* error = std::get_if<DecodingError>(&whole)) {
    require(!error->description.empty());
    return;
  }
  require(std::get<0>(whole) == std::get<0>(pieces));
  const std::string written = encoded(std::get<0>(whole));
  const auto again = decode(inPieces(written));
  require(again.index() == 0 && std::get<0>(again) == std::get<0>(whole));
}

}  // namespace stowboard
