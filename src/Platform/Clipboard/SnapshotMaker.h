#pragma once

#include <functional>
#include <memory>

#include "Platform/Clipboard/ClipboardSnapshot.h"
#include "Platform/Clipboard/ContentBuilder.h"
#include "Platform/Image.h"

namespace stowboard {

/// Makes snapshots out of fetched contents, so that what is large to decode is decoded before
/// anybody on the main thread asks. Belongs to the thread that fetches; that stays free for the
/// next owner, since large contents are made in the background.
///
/// Where a format's bytes are those of the snapshot before, the new one shares its storage, so that
/// comparing the two takes no time.
class SnapshotMaker {
 public:
  using Receiver = std::function<void(std::shared_ptr<const ClipboardSnapshot>)>;

  /// The codec must outlive the background's work.
  SnapshotMaker(ImageCodec& codec, int thumbnailDimension, Background background);

  /// Calls the receiver on this thread, in the order of the contents: at once where nothing is in
  /// the background and the content is small.
  void make(FetchedContent content, Receiver receiver);

 private:
  class Workshop;

  const Background background_;
  // The background's while anything is pending there, else this thread's.
  const std::shared_ptr<Workshop> workshop_;
  int pending_ = 0;
};

}  // namespace stowboard
