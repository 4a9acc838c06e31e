#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Base/Bytes.h"
#include "Base/Text.h"
#include "Platform/Image.h"
#include "Platform/X11/SelectionFetch.h"

namespace stowboard {

/// One content of the clipboard, ready to be read without waiting. Immutable.
struct ClipboardSnapshot {
  std::optional<std::vector<std::string>> types;
  std::optional<Bytes> tiff;
  std::optional<Bytes> png;
  std::optional<Bytes> richText;
  std::optional<Text> text;
  /// Kept so that decoding the same bytes again is free; see ImageCodec::decode().
  std::shared_ptr<const Image> image;
};

/// Makes snapshots out of fetched contents: decodes what is large to decode before anybody on the
/// main thread asks. One thread at a time.
class SnapshotMaker {
 public:
  SnapshotMaker(ImageCodec& codec, int thumbnailDimension)
      : codec_(codec), thumbnailDimension_(thumbnailDimension) {}

  /// Where a format's bytes are those of the snapshot before, the new one shares its storage, so
  /// that comparing the two takes no time.
  std::shared_ptr<const ClipboardSnapshot> make(FetchedContent content);

 private:
  void decodeImage(ClipboardSnapshot& snapshot);

  ImageCodec& codec_;
  const int thumbnailDimension_;
  std::shared_ptr<const ClipboardSnapshot> previous_ = std::make_shared<ClipboardSnapshot>();
};

}  // namespace stowboard
