#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "Base/Unicode/Utf8.h"
#include "Platform/Clipboard/TextEncoding.h"
#include "Platform/Clipboard/TransferBuffer.h"

namespace {

using namespace stowboard;

void require(bool holds) {
  if (!holds) std::abort();
}

bool isUtf8(std::string_view bytes) { return scanUtf8(bytes).validLength == bytes.size(); }

}  // namespace

/// However a text is encoded or broken, what comes out is UTF-8; and UTF-8 is judged alike in
/// pieces of any size.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  for (const auto encoding : {TextEncoding::utf8, TextEncoding::unstated, TextEncoding::latin1,
                              TextEncoding::compoundText}) {
    require(isUtf8(decodedText(std::string(bytes), encoding).view()));
  }
  require(isUtf8(compoundTextToUtf8(bytes).value_or("")));

  for (std::size_t pieceSize = 1; pieceSize <= 5; ++pieceSize) {
    Utf8Checker checker;
    for (std::size_t at = 0; at < size; at += pieceSize) checker.feed(bytes.substr(at, pieceSize));
    require(checker.isValid() == isUtf8(bytes));
  }
  return 0;
}
