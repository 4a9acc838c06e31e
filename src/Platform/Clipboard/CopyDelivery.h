#pragma once

#include <cstdint>
#include <string_view>

#include "Platform/Clipboard/ClipboardSnapshot.h"
#include "Platform/Clipboard/ContentBuilder.h"
#include "Platform/Clipboard/SecretMemory.h"
#include "Platform/Clipboard/SnapshotMaker.h"

namespace stowboard {

/// The way of a fetched content to the main thread: made into a snapshot, held back when it is a
/// secret whose mark was lost. Belongs to the thread that fetches.
class CopyDelivery {
 public:
  /// The codec must outlive the background's work.
  CopyDelivery(ImageCodec& codec, int thumbnailDimension, Background background,
               SnapshotReceiver receiver);

  /// `writeNumber`: the last of our own writes that the copy came after.
  void deliver(FetchedContent content, std::uint64_t writeNumber);
  /// A program has emptied the clipboard on purpose.
  void deliverClearing(std::uint64_t writeNumber);

  void rememberSecret(std::string_view text, std::uint64_t copyNumber) {
    secrets_.remember(text, copyNumber);
  }
  /// We have written: what was copied before cannot come back.
  void forgetSecret() { secrets_.forget(); }

 private:
  const SnapshotReceiver receiver_;
  SnapshotMaker maker_;
  SecretMemory secrets_;
};

}  // namespace stowboard
