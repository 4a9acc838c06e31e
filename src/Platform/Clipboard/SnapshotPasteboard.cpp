#include "Platform/Clipboard/SnapshotPasteboard.h"

#include <algorithm>
#include <utility>

namespace stowboard {

namespace {

void addType(ClipboardSnapshot& content, std::string_view type) {
  if (std::ranges::count(*content.types, type) == 0) content.types->emplace_back(type);
}

}  // namespace

std::optional<Bytes> SnapshotPasteboard::data(std::string_view type) const {
  if (type == PasteboardType::tiff && current_->tiff) return current_->tiff;
  if (type == PasteboardType::png && current_->png) return current_->png;
  if (type == PasteboardType::rtf) return current_->richText;
  if (type == PasteboardType::string && current_->text) return current_->text->bytes();
  for (const auto& [name, content] : current_->named) {
    if (name == type) return content;
  }
  return isOurs_ && current_->image ? current_->image->representation(type) : std::nullopt;
}

std::optional<Text> SnapshotPasteboard::string(std::string_view type) const {
  return type == PasteboardType::string ? current_->text : std::nullopt;
}

SnapshotReceiver SnapshotPasteboard::receiver() {
  return [this, &runLoop = runLoop_, life = std::weak_ptr(life_)](auto snapshot, auto number) {
    runLoop.post([this, life, snapshot = std::move(snapshot), number] {
      if (!life.expired()) adopt(snapshot, number);
    });
  };
}

void SnapshotPasteboard::adopt(std::shared_ptr<const ClipboardSnapshot> snapshot,
                               std::uint64_t writeNumber) {
  // We have written since, and that counts.
  if (writeNumber < writeNumber_) return;
  const bool isReread = !isOurs_ && snapshot->copyNumber == current_->copyNumber;
  const bool isInVain = snapshot->news == ClipboardNews::outOfReach;
  if (isReread || !isInVain) rereading_ = isInVain ? Rereading::inVain : Rereading::ended;
  if (isInVain) return;
  if (snapshot->news == ClipboardNews::cleared) return clear();
  current_ = std::move(snapshot);
  if (isReread) return keep(current_);
  isOurs_ = false;
  changeCount_ += 1;
  const std::weak_ptr life = life_;
  const std::weak_ptr announced = current_;
  // A copy, since the handler may replace itself or destroy this pasteboard.
  if (const auto handler = onMoved) handler();
  const auto copy = announced.lock();
  if (!life.expired() && copy && copy == current_) keep(copy);
}

void SnapshotPasteboard::discard() {
  if (!isOurs_) clear();
}

void SnapshotPasteboard::clear() {
  auto nothing = std::make_shared<ClipboardSnapshot>();
  nothing->types.emplace();
  current_ = std::move(nothing);
  isOurs_ = false;
  rereading_ = Rereading::inVain;
}

void SnapshotPasteboard::reread() {
  if (isOurs_ || rereading_ != Rereading::ended) return;
  rereading_ = Rereading::underWay;
  askAgain(current_->copyNumber);
}

void SnapshotPasteboard::clearContents() {
  changeCount_ += 1;
  writeNumber_ += 1;
  isOurs_ = true;
  rereading_ = Rereading::ended;
  draft_ = std::make_shared<ClipboardSnapshot>();
  draft_->types.emplace();
  current_ = draft_;
  beginWrite(writeNumber_);
  scheduleCommit();
}

ClipboardSnapshot* SnapshotPasteboard::draft() {
  if (!isOurs_) return nullptr;
  if (!draft_) {
    draft_ = std::make_shared<ClipboardSnapshot>(*current_);
    current_ = draft_;
    scheduleCommit();
  }
  return draft_.get();
}

void SnapshotPasteboard::setString(const Text& text, std::string_view type) {
  if (type != PasteboardType::string) return setData(text.bytes(), type);
  auto* const content = draft();
  if (!content) return;
  content->text = text;
  addType(*content, type);
}

void SnapshotPasteboard::setData(const Bytes& data, std::string_view type) {
  if (type == PasteboardType::string) return setString(Text(std::string(data.view())), type);
  auto* const content = draft();
  if (!content) return;
  if (type == PasteboardType::rtf) {
    content->richText = data;
  } else {
    std::erase_if(content->named, [type](const auto& each) { return each.first == type; });
    content->named.emplace_back(type, data);
  }
  addType(*content, type);
}

void SnapshotPasteboard::writeImage(std::shared_ptr<const Image> image) {
  auto* const content = draft();
  if (!content) return;
  // In the order of types().
  for (const auto type : {PasteboardType::tiff, PasteboardType::png}) {
    if (std::ranges::count(image->representationTypes(), type) > 0) addType(*content, type);
  }
  for (const auto& type : image->representationTypes()) addType(*content, type);
  content->image = std::move(image);
}

void SnapshotPasteboard::scheduleCommit() {
  if (std::exchange(isCommitScheduled_, true)) return;
  runLoop_.post([this, life = std::weak_ptr(life_)] {
    if (!life.expired()) commit();
  });
}

void SnapshotPasteboard::commit() {
  isCommitScheduled_ = false;
  if (!draft_) return;
  publish(writeNumber_, std::make_shared<ClipboardOffer>(std::exchange(draft_, nullptr)));
}

}  // namespace stowboard
