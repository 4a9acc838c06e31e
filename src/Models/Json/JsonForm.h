#pragma once

#include <cstddef>
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

/// Writes the value as compact UTF-8 JSON into the sink, a chunk of at most 256 KB at a time, so
/// that the encoded form never stands in memory as a whole. False when the sink gave up. Any
/// thread.
bool encodeJson(std::span<const ClipItem> clips, const JsonSink& sink);
bool encodeJson(const AppSettings& settings, const JsonSink& sink);

/// Hands over the next bytes of a file, valid until the next call; empty at its end.
using JsonSource = std::function<std::string_view()>;

/// Reads what encodeJson() or another writer of the format wrote, a chunk at a time, so that the
/// file never stands in memory beside the value. One failing element makes a history fail
/// as a whole. Of a key that occurs more than once in an object the last occurrence counts, and
/// only that one needs to be valid. Any thread.
DecodingResult<std::vector<ClipItem>> decodeHistory(const JsonSource& source);
DecodingResult<AppSettings> decodeSettings(const JsonSource& source);

/// The same, from a text that is in memory.
DecodingResult<std::vector<ClipItem>> decodeHistory(std::string_view json);
DecodingResult<AppSettings> decodeSettings(std::string_view json);

}  // namespace stowboard
