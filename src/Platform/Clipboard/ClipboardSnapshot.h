#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Base/Bytes.h"
#include "Base/Unicode/Text.h"
#include "Platform/Image.h"

namespace stowboard {

/// One content of the clipboard, ready to be read without waiting. Immutable once it is shared with
/// another thread.
struct ClipboardSnapshot {
  std::optional<std::vector<std::string>> types;
  std::optional<Bytes> tiff;
  std::optional<Bytes> png;
  std::optional<Bytes> richText;
  std::optional<Text> text;
  /// Kept so that decoding the same bytes again is free; see ImageCodec::decode().
  std::shared_ptr<const Image> image;
  /// Content to be offered under exactly these names, besides what follows from the fields above.
  std::vector<std::pair<std::string, Bytes>> named;
};

}  // namespace stowboard
