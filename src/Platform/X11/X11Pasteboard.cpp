#include "Platform/X11/X11Pasteboard.h"

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

}  // namespace

std::unique_ptr<X11Pasteboard> X11Pasteboard::create(RunLoop& runLoop, ImageCodec& codec,
                                                     Options options) {
  std::unique_ptr<X11Pasteboard> pasteboard(new X11Pasteboard(runLoop, codec, std::move(options)));
  auto& self = *pasteboard;
  self.thread_ = SelectionThread::start(
      self.options_.display, self.options_.limits,
      [&self](FetchedContent content) { self.receive(std::move(content)); },
      [&self] { self.postToSelf(&X11Pasteboard::reportLostConnection); });
  return self.thread_ ? std::move(pasteboard) : nullptr;
}

X11Pasteboard::X11Pasteboard(RunLoop& runLoop, ImageCodec& codec, Options options)
    : runLoop_(runLoop), options_(std::move(options)), maker_(codec, options_.thumbnailDimension) {}

X11Pasteboard::~X11Pasteboard() {
  isEnding_ = true;
  thread_.reset();
}

std::optional<Bytes> X11Pasteboard::data(std::string_view type) const {
  if (type == PasteboardType::tiff) return current_->tiff;
  if (type == PasteboardType::png) return current_->png;
  if (type == PasteboardType::rtf) return current_->richText;
  if (type == PasteboardType::string && current_->text) return current_->text->bytes();
  return std::nullopt;
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
  postToSelf(
      [snapshot = maker_.make(std::move(content))](X11Pasteboard& self) { self.adopt(snapshot); });
}

void X11Pasteboard::adopt(std::shared_ptr<const ClipboardSnapshot> snapshot) {
  current_ = std::move(snapshot);
  changeCount_ += 1;
  // A copy, since the handler may replace itself or destroy this pasteboard.
  if (const auto handler = onMoved) handler();
}

void X11Pasteboard::reportLostConnection() {
  Log::clipboard.error("The connection to the X server is lost: no copies are recorded any more");
  if (const auto handler = options_.onConnectionLost) handler();
}

}  // namespace stowboard
