#include "Platform/X11/Selection/X11Pasteboard.h"

#include <algorithm>
#include <utility>

#include "Base/Log.h"

namespace stowboard {

namespace {

// Below this, handing a text to another thread takes longer than preparing it.
constexpr std::size_t smallSize = 64 * 1024;

bool isSmall(const FetchedContent& content) {
  const std::size_t text = content.text ? content.text->bytes.size() : 0;
  const std::size_t richText = content.richText ? content.richText->size() : 0;
  return !content.image && text + richText <= smallSize;
}

void addType(ClipboardSnapshot& content, std::string_view type) {
  if (std::ranges::count(*content.types, type) == 0) content.types->emplace_back(type);
}

}  // namespace

std::unique_ptr<X11Pasteboard> X11Pasteboard::create(RunLoop& runLoop, ImageCodec& codec,
                                                     Options options) {
  std::unique_ptr<X11Pasteboard> pasteboard(new X11Pasteboard(runLoop, codec, std::move(options)));
  auto& self = *pasteboard;
  self.thread_ = SelectionThread::create(
      self.options_.display, self.options_.limits, self.options_.serving,
      [&self](FetchedContent content) { self.receive(std::move(content)); },
      [&self] { self.postToSelf(&X11Pasteboard::reportLostConnection); });
  if (!self.thread_) return nullptr;
  self.thread_->start();
  return pasteboard;
}

X11Pasteboard::X11Pasteboard(RunLoop& runLoop, ImageCodec& codec, Options options)
    : runLoop_(runLoop), options_(std::move(options)), maker_(codec, options_.thumbnailDimension) {}

X11Pasteboard::~X11Pasteboard() {
  isEnding_ = true;
  if (!thread_) return;
  commit();
  thread_->end();
}

std::optional<Bytes> X11Pasteboard::data(std::string_view type) const {
  if (type == PasteboardType::tiff && current_->tiff) return current_->tiff;
  if (type == PasteboardType::png && current_->png) return current_->png;
  if (type == PasteboardType::rtf) return current_->richText;
  if (type == PasteboardType::string && current_->text) return current_->text->bytes();
  for (const auto& [name, content] : current_->named) {
    if (name == type) return content;
  }
  return isOurs_ && current_->image ? current_->image->representation(type) : std::nullopt;
}

std::optional<Text> X11Pasteboard::string(std::string_view type) const {
  return type == PasteboardType::string ? current_->text : std::nullopt;
}

void X11Pasteboard::postToSelf(std::function<void(X11Pasteboard&)> task) {
  runLoop_.post([weakSelf = std::weak_ptr(self_), task = std::move(task)] {
    if (const auto self = weakSelf.lock()) task(**self);
  });
}

void X11Pasteboard::receive(FetchedContent content) {
  // Never past a content that the queue still works on: the order of the copies holds.
  if (queued_ == 0 && isSmall(content)) return announce(std::move(content));
  ++queued_;
  preparation_.async([this, held = std::make_shared<FetchedContent>(std::move(content))] {
    if (!isEnding_) announce(std::move(*held));
    --queued_;
  });
}

void X11Pasteboard::announce(FetchedContent content) {
  const bool isWhole = content.isWhole;
  const auto copyNumber = content.copyNumber;
  const auto writeNumber = content.writeNumber;
  const auto snapshot = maker_.make(std::move(content));
  if (isWhole) {
    thread_->post([copyNumber, offer = std::make_shared<ClipboardOffer>(snapshot)](
                      SelectionSession& session) { session.keep(copyNumber, offer); });
  }
  postToSelf([snapshot, writeNumber](X11Pasteboard& self) { self.adopt(snapshot, writeNumber); });
}

void X11Pasteboard::adopt(std::shared_ptr<const ClipboardSnapshot> snapshot,
                          std::uint64_t writeNumber) {
  // We have written since, and that counts.
  if (writeNumber < writeNumber_) return;
  current_ = std::move(snapshot);
  isOurs_ = false;
  changeCount_ += 1;
  // A copy, since the handler may replace itself or destroy this pasteboard.
  if (const auto handler = onMoved) handler();
}

void X11Pasteboard::clearContents() {
  changeCount_ += 1;
  writeNumber_ += 1;
  isOurs_ = true;
  draft_ = std::make_shared<ClipboardSnapshot>();
  draft_->types.emplace();
  current_ = draft_;
  thread_->beginWrite();
  scheduleCommit();
}

ClipboardSnapshot* X11Pasteboard::draft() {
  if (!isOurs_) return nullptr;
  if (!draft_) {
    draft_ = std::make_shared<ClipboardSnapshot>(*current_);
    current_ = draft_;
    scheduleCommit();
  }
  return draft_.get();
}

void X11Pasteboard::setString(const Text& text, std::string_view type) {
  if (type != PasteboardType::string) return setData(text.bytes(), type);
  auto* const content = draft();
  if (!content) return;
  content->text = text;
  addType(*content, type);
}

void X11Pasteboard::setData(const Bytes& data, std::string_view type) {
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

void X11Pasteboard::writeImage(std::shared_ptr<const Image> image) {
  auto* const content = draft();
  if (!content) return;
  // In the order of types().
  for (const auto type : {PasteboardType::tiff, PasteboardType::png}) {
    if (std::ranges::count(image->representationTypes(), type) > 0) addType(*content, type);
  }
  for (const auto& type : image->representationTypes()) addType(*content, type);
  content->image = std::move(image);
}

void X11Pasteboard::offerPrimary() {
  isPrimaryWanted_ = true;
  scheduleCommit();
}

void X11Pasteboard::scheduleCommit() {
  if (std::exchange(isCommitScheduled_, true)) return;
  postToSelf(&X11Pasteboard::commit);
}

void X11Pasteboard::commit() {
  isCommitScheduled_ = false;
  if (draft_) {
    published_ = std::make_shared<ClipboardOffer>(std::exchange(draft_, nullptr));
    thread_->post([number = writeNumber_, offer = published_](SelectionSession& session) {
      session.provide(number, offer);
    });
  }
  if (std::exchange(isPrimaryWanted_, false) && published_) {
    thread_->post([offer = published_](SelectionSession& session) { session.offerPrimary(offer); });
  }
}

void X11Pasteboard::whenPublished(std::function<void()> done) {
  commit();
  thread_->post(
      [done = std::move(done)](SelectionSession& session) { session.whenPublished(done); });
}

void X11Pasteboard::handOver(std::function<void()> done) {
  commit();
  thread_->post([this, done = std::move(done)](SelectionSession& session) {
    session.handOver([this, done] { postToSelf([done](X11Pasteboard&) { done(); }); });
  });
}

void X11Pasteboard::reportLostConnection() {
  Log::clipboard.error("The connection to the X server is lost: no copies are recorded any more");
  if (const auto handler = options_.onConnectionLost) handler();
}

}  // namespace stowboard
