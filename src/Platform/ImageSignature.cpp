#include "Platform/ImageSignature.h"

namespace stowboard {

std::string_view imageTypeOf(std::string_view bytes) {
  using namespace std::string_view_literals;
  struct Signature {
    std::string_view bytes, type;
  };
  // TIFF twice in each byte order: the second are those of its 64-bit form.
  static constexpr Signature signatures[] = {{"\x89PNG\r\n\x1a\n"sv, "image/png"},
                                             {"\xff\xd8\xff"sv, "image/jpeg"},
                                             {"GIF87a"sv, "image/gif"},
                                             {"GIF89a"sv, "image/gif"},
                                             {"II*\0"sv, "image/tiff"},
                                             {"MM\0*"sv, "image/tiff"},
                                             {"II+\0"sv, "image/tiff"},
                                             {"MM\0+"sv, "image/tiff"},
                                             {"BM"sv, "image/bmp"}};
  for (const auto& signature : signatures) {
    if (bytes.starts_with(signature.bytes)) return signature.type;
  }
  const bool isWebp = bytes.starts_with("RIFF") && bytes.substr(0, 12).ends_with("WEBP");
  return isWebp ? "image/webp" : ""sv;
}

}  // namespace stowboard
