#include "Platform/Clipboard/CopyDelivery.h"

#include <utility>

#include "Base/Log.h"

namespace stowboard {

CopyDelivery::CopyDelivery(ImageCodec& codec, int thumbnailDimension, Background background,
                           SnapshotReceiver receiver)
    : receiver_(std::move(receiver)), maker_(codec, thumbnailDimension, std::move(background)) {}

void CopyDelivery::deliver(FetchedContent content, std::uint64_t writeNumber) {
  maker_.make(std::move(content), [this, writeNumber](auto snapshot) {
    const auto text = snapshot->text.value_or(Text());
    const bool isCopy = snapshot->news == ClipboardNews::content;
    if (isCopy && secrets_.knows(text.view(), snapshot->copyNumber)) {
      return Log::clipboard.info("Skipped: the content is a secret whose mark was lost");
    }
    receiver_(std::move(snapshot), writeNumber);
  });
}

void CopyDelivery::deliverClearing(std::uint64_t writeNumber) {
  FetchedContent nothing;
  nothing.news = ClipboardNews::cleared;
  deliver(std::move(nothing), writeNumber);
}

}  // namespace stowboard
