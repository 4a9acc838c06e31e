#include "Base/Unicode/Graphemes.h"

#include <unicode/brkiter.h>
#include <unicode/utext.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>

#include "Base/Unicode/Utf8.h"

namespace stowboard {

namespace {

/// Each thread its own: an iterator serves one text at a time and takes a while to make.
icu::BreakIterator* graphemeIterator() {
  static thread_local const auto iterator = [] {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::BreakIterator> made(
        icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    return U_SUCCESS(status) ? std::move(made) : nullptr;
  }();
  return iterator.get();
}

/// True when each of the first `count` bytes is one character of its own: ASCII, and no CR, which
/// is one character with an LF after it; a byte more, since a mark could follow the last.
bool isOneByteEach(std::string_view text, std::size_t count) {
  const auto start = text.substr(0, count + 1);
  return std::ranges::all_of(start, [](char byte) { return byte >= 0 && byte != '\r'; });
}

/// Break positions are 32 bits wide.
std::string_view addressable(std::string_view text) {
  constexpr std::size_t most = std::numeric_limits<std::int32_t>::max();
  return text.size() <= most ? text : text.substr(0, codePointStart(text, most));
}

}  // namespace

std::string_view firstGraphemes(std::string_view text, std::size_t count) {
  text = addressable(text);
  if (count >= text.size()) return text;
  if (isOneByteEach(text, count)) return text.substr(0, count);
  UErrorCode status = U_ZERO_ERROR;
  UText reader = UTEXT_INITIALIZER;
  utext_openUTF8(&reader, text.data(), static_cast<std::int64_t>(text.size()), &status);
  auto* const iterator = graphemeIterator();
  if (U_FAILURE(status) || iterator == nullptr) return text.substr(0, codePointStart(text, count));
  iterator->setText(&reader, status);
  const auto end = iterator->next(static_cast<std::int32_t>(count));
  utext_close(&reader);
  return end == icu::BreakIterator::DONE ? text : text.substr(0, static_cast<std::size_t>(end));
}

}  // namespace stowboard
