#pragma once

#include <memory>

#include "Platform/Clipboard/ClipboardSnapshot.h"
#include "Platform/Clipboard/FetchedContent.h"
#include "Platform/Image.h"

namespace stowboard {

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
