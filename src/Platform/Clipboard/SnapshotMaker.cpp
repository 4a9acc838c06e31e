#include "Platform/Clipboard/SnapshotMaker.h"

#include <utility>

#include "Platform/Clipboard/TextDecoding.h"

namespace stowboard {

namespace {

Bytes sharedWith(const std::optional<Bytes>& previous, std::string content) {
  const bool isSame = previous && previous->view() == content;
  return isSame ? *previous : Bytes(std::move(content));
}

// By bytes, not by Text's equality: canonically equivalent texts can differ in what they hold.
Text sharedWith(const std::optional<Text>& previous, const Text& text) {
  const bool isSame = previous && previous->view() == text.view();
  return isSame ? *previous : text;
}

}  // namespace

std::shared_ptr<const ClipboardSnapshot> SnapshotMaker::make(FetchedContent content) {
  auto snapshot = std::make_shared<ClipboardSnapshot>();
  snapshot->types = std::move(content.types);
  if (auto& text = content.text) {
    snapshot->text =
        sharedWith(previous_->text, decodedText(std::move(text->bytes), text->encoding));
  }
  if (auto& richText = content.richText) {
    snapshot->richText = sharedWith(previous_->richText, std::move(*richText));
    snapshot->named.emplace_back(std::move(content.richTextTarget), *snapshot->richText);
  }
  if (auto& image = content.image) {
    auto ClipboardSnapshot::*const format =
        content.isTiff ? &ClipboardSnapshot::tiff : &ClipboardSnapshot::png;
    (*snapshot).*format = sharedWith((*previous_).*format, std::move(*image));
    snapshot->named.emplace_back(std::move(content.imageTarget), *((*snapshot).*format));
    decodeImage(*snapshot);
  }
  previous_ = snapshot;
  return snapshot;
}

void SnapshotMaker::decodeImage(ClipboardSnapshot& snapshot) {
  const Bytes& encoded = snapshot.tiff ? *snapshot.tiff : *snapshot.png;
  snapshot.image = codec_.decodeToFit(encoded, thumbnailDimension_);
}

}  // namespace stowboard
