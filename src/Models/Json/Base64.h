#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace stowboard {

/// Characters that `byteCount` bytes take in Base64 (RFC 4648 section 4: standard alphabet, padded,
/// no line breaks).
constexpr std::size_t base64Size(std::size_t byteCount) { return (byteCount + 2) / 3 * 4; }

/// Encodes into `out`, which has room for base64Size(bytes.size()) characters; returns the end of
/// what was written. Pieces of a multiple of three bytes, encoded one after the other, make up the
/// encoding of the whole.
char* encodeBase64(std::string_view bytes, char* out);

/// Decodes into `bytes`, replacing what it held. False on any character outside the alphabet (line
/// breaks included) and on missing or misplaced padding; `bytes` is then unspecified.
bool decodeBase64(std::string_view text, std::string& bytes);

}  // namespace stowboard
