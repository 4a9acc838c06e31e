#pragma once

#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "Models/AppSettings.h"
#include "Models/ClipItem.h"

namespace stowboard {

/// Why a file could not be decoded, in words: what is wrong, at which index and key.
struct DecodingError {
  std::string description;
};

template <typename Value>
using DecodingResult = std::variant<Value, DecodingError>;

/// Receives encoded bytes in order; false ends the encoding (nothing more will be sent).
using JsonSink = std::function<bool(std::string_view chunk)>;

/// Writes the value as compact UTF-8 JSON into the sink, a chunk at a time, so that the encoded
/// form never stands in memory as a whole. False when the sink gave up. Any thread.
bool encodeJson(std::span<const ClipItem> clips, const JsonSink& sink);
bool encodeJson(const AppSettings& settings, const JsonSink& sink);

/// Reads what encodeJson() or the original format's platform encoder wrote. One failing element
/// makes a history fail as a whole. `json` is consumed: it is used as scratch space. Any thread.
DecodingResult<std::vector<ClipItem>> decodeHistory(std::string json);
DecodingResult<AppSettings> decodeSettings(std::string json);

}  // namespace stowboard
