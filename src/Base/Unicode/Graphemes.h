#pragma once

#include <cstddef>
#include <string_view>

namespace stowboard {

/// The first `count` extended grapheme clusters (UAX #29) of a valid UTF-8 text. Reads no further
/// than it must, without converting the text. Safe to use from any thread.
std::string_view firstGraphemes(std::string_view text, std::size_t count);

}  // namespace stowboard
