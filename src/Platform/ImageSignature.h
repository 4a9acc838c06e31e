#pragma once

#include <string_view>

namespace stowboard {

/// The MIME type of the image that the bytes begin like, of those that ImageCodec::decode() reads;
/// empty when they begin like none.
std::string_view imageTypeOf(std::string_view bytes);

}  // namespace stowboard
