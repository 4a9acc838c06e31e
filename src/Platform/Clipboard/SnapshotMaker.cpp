#include "Platform/Clipboard/SnapshotMaker.h"

#include <new>
#include <utility>

#include "Base/Log.h"

#include "Platform/Clipboard/TextEncoding.h"

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

// Below this, handing a text to another thread takes longer than preparing it.
constexpr std::size_t smallSize = 64 * 1024;

bool isSmall(const FetchedContent& content) {
  const std::size_t text = content.text ? content.text->bytes.size() : 0;
  const std::size_t richText = content.richText ? content.richText->size() : 0;
  return !content.image && text + richText <= smallSize;
}

}  // namespace

/// Makes one snapshot after the other.
class SnapshotMaker::Workshop {
 public:
  Workshop(ImageCodec& codec, int thumbnailDimension)
      : codec_(codec), thumbnailDimension_(thumbnailDimension) {}

  /// A content that finds no memory is out of reach.
  std::shared_ptr<const ClipboardSnapshot> make(FetchedContent content) {
    try {
      return build(content);
    } catch (const std::bad_alloc&) {
      Log::clipboard.error("A copy is lost: there is not enough memory for it");
      auto lost = std::make_shared<ClipboardSnapshot>();
      lost->news = ClipboardNews::outOfReach;
      lost->copyNumber = content.copyNumber;
      return lost;
    }
  }

 private:
  std::shared_ptr<const ClipboardSnapshot> build(FetchedContent& content) {
    auto snapshot = std::make_shared<ClipboardSnapshot>();
    const auto kept = previous_.lock();
    const auto previous = kept ? kept : std::make_shared<const ClipboardSnapshot>();
    snapshot->news = content.news;
    snapshot->copyNumber = content.copyNumber;
    snapshot->isWhole = content.isWhole;
    snapshot->sources = std::move(content.sources);
    snapshot->types = std::move(content.types);
    if (auto& text = content.text) {
      snapshot->text =
          sharedWith(previous->text, decodedText(std::move(text->bytes), text->encoding));
    }
    if (auto& richText = content.richText) {
      snapshot->richText = sharedWith(previous->richText, std::move(*richText));
      snapshot->named.emplace_back(std::move(content.richTextTarget), *snapshot->richText);
    }
    if (auto& image = content.image) {
      auto ClipboardSnapshot::* const format =
          content.isTiff ? &ClipboardSnapshot::tiff : &ClipboardSnapshot::png;
      const auto file = sharedWith((*previous).*format, std::move(*image));
      (*snapshot).*format = file;
      snapshot->named.emplace_back(std::move(content.imageTarget), file);
      snapshot->image = codec_.decodeToFit(file, thumbnailDimension_);
    }
    previous_ = snapshot;
    return snapshot;
  }

  ImageCodec& codec_;
  const int thumbnailDimension_;
  // As long as somebody else needs it.
  std::weak_ptr<const ClipboardSnapshot> previous_;
};

SnapshotMaker::SnapshotMaker(ImageCodec& codec, int thumbnailDimension, Background background)
    : background_(std::move(background)),
      workshop_(std::make_shared<Workshop>(codec, thumbnailDimension)) {}

void SnapshotMaker::make(FetchedContent content, Receiver receiver) {
  // Never past a content that is still being made: the order of the copies holds.
  if (pending_ == 0 && isSmall(content)) return receiver(workshop_->make(std::move(content)));
  pending_ += 1;
  const auto held = std::make_shared<FetchedContent>(std::move(content));
  const auto made = std::make_shared<std::shared_ptr<const ClipboardSnapshot>>();
  background_([workshop = workshop_, held, made] { *made = workshop->make(std::move(*held)); },
              [this, made, receiver = std::move(receiver)] {
                pending_ -= 1;
                receiver(*made);
              });
}

}  // namespace stowboard
