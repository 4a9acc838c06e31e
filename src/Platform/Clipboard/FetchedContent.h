#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Clipboard/TextEncoding.h"

namespace stowboard {

/// The formats of one content as they came from its owner.
struct FetchedContent {
  struct EncodedText {
    std::string bytes;
    TextEncoding encoding = TextEncoding::utf8;
  };

  /// Absent when the owner did not tell.
  std::optional<std::vector<std::string>> types;
  std::optional<EncodedText> text;
  std::optional<std::string> richText;
  std::optional<std::string> image;
  bool isTiff = false;
  /// The targets that the two came from, as the owner spells them.
  std::string richTextTarget;
  std::string imageTarget;
  /// Everything that was asked for has come.
  bool isWhole = false;
  /// Which copy it is, in the order of the copies.
  std::uint64_t copyNumber = 0;

  bool hasData() const { return text || richText || image; }
};

}  // namespace stowboard
