#include "Services/ClipboardMonitor.h"

#include <algorithm>
#include <chrono>
#include <string_view>
#include <utility>
#include <vector>

#include "Base/Log.h"

namespace stowboard {

namespace {

constexpr RunLoop::Duration pollInterval = std::chrono::milliseconds(500);
constexpr int maxReadAttempts = 3;

using TypeList = std::optional<std::vector<std::string>>;

std::string description(const TypeList& types) {
  if (!types) return "none";
  std::string list;
  for (const std::string& type : *types) {
    list += fmt::format("{}\"{}\"", list.empty() ? "" : ", ", type);
  }
  return "[" + list + "]";
}

bool offersImage(const TypeList& types) {
  return types && std::ranges::any_of(*types, [](const std::string& type) {
           return type == PasteboardType::tiff || type == PasteboardType::png;
         });
}

ClipItem newClip(ClipType type, std::optional<Text> text, std::optional<Bytes> rtf,
                 std::optional<Bytes> image) {
  return {Uuid::random(),  type, std::move(text), std::move(rtf), std::move(image),
          Timestamp::now()};
}

}  // namespace

ClipboardMonitor::ClipboardMonitor(Pasteboard& pasteboard, std::shared_ptr<AppState> appState,
                                   ThumbnailGenerator thumbnailGenerator,
                                   std::unique_ptr<FrontmostAppProviding> frontmostApp,
                                   ExcludedBundleIdsProvider excludedBundleIdsProvider,
                                   ImageCodec& imageCodec, RunLoop& runLoop)
    : pasteboard_(pasteboard),
      appState_(std::move(appState)),
      thumbnailGenerator_(std::move(thumbnailGenerator)),
      frontmostApp_(std::move(frontmostApp)),
      excludedBundleIdsProvider_(std::move(excludedBundleIdsProvider)),
      imageCodec_(imageCodec),
      runLoop_(runLoop),
      lastChangeCount_(pasteboard.changeCount()) {}

ClipboardMonitor::~ClipboardMonitor() { stop(); }

void ClipboardMonitor::start() {
  if (isStarted_) return;
  isStarted_ = true;
  lastChangeCount_ = pasteboard_.changeCount();
  pasteboard_.onMoved = [this] { tick(); };
  runTicksWhileNeeded();
  Log::clipboard.info("Clipboard monitor started");
}

void ClipboardMonitor::stop() {
  if (!isStarted_) return;
  isStarted_ = false;
  pasteboard_.onMoved = nullptr;
  timer_.reset();
}

void ClipboardMonitor::markSelfWrite() {
  selfWriteCount_ = pasteboard_.changeCount();
  runTicksWhileNeeded();
}

void ClipboardMonitor::tick() {
  poll();
  runTicksWhileNeeded();
}

void ClipboardMonitor::runTicksWhileNeeded() {
  const bool hasOpenChange = pasteboard_.changeCount() != lastChangeCount_;
  const bool isNeeded = isStarted_ && (hasOpenChange || !pasteboard_.announcesMoves());
  if (isNeeded && !timer_) timer_ = runLoop_.startTimer(pollInterval, [this] { tick(); });
  if (!isNeeded) timer_.reset();
}

void ClipboardMonitor::poll() {
  const std::int64_t changeCount = pasteboard_.changeCount();
  if (changeCount == lastChangeCount_ || isOwnWrite(changeCount)) return;
  if (pasteboard_.rereading() == Pasteboard::Rereading::underWay) return;
  if (isExcluded()) {
    Log::clipboard.info("Skipped: source app is excluded");
    pasteboard_.discard();
    lastChangeCount_ = changeCount;
    return;
  }
  if (const std::optional<ClipItem> clip = readContent()) {
    readRetryCount_ = 0;
    lastChangeCount_ = changeCount;
    record(*clip);
  } else {
    handleUnreadable(changeCount);
  }
}

bool ClipboardMonitor::isOwnWrite(std::int64_t changeCount) {
  if (selfWriteCount_ != changeCount) return false;
  selfWriteCount_.reset();
  lastChangeCount_ = changeCount;
  return true;
}

bool ClipboardMonitor::isExcluded() const {
  const ExcludedAppChecker checker(excludedBundleIdsProvider_());
  // As of the copy, where the pasteboard knows: until an owner has given everything, the user may
  // be elsewhere.
  const auto sources = pasteboard_.sources();
  if (!sources) return checker.isExcluded(frontmostApp_->frontmostBundleId());
  return std::ranges::any_of(*sources, [&](const auto& id) { return checker.isExcluded(id); });
}

void ClipboardMonitor::record(const ClipItem& clip) {
  if (!appState_->append(clip)) Log::clipboard.info("Skipped: duplicate of the latest entry");
}

void ClipboardMonitor::handleUnreadable(std::int64_t changeCount) {
  // The first attempt's line says all there is to say.
  if (pasteboard_.rereading() == Pasteboard::Rereading::inVain) return giveUp(changeCount);
  Log::clipboard.error("Detected change but no readable content; types: {}",
                       description(pasteboard_.types()));
  readRetryCount_ += 1;
  if (readRetryCount_ < maxReadAttempts) return pasteboard_.reread();
  giveUp(changeCount);
  Log::clipboard.error("Gave up reading clipboard content after {} retries", maxReadAttempts);
}

void ClipboardMonitor::giveUp(std::int64_t changeCount) {
  lastChangeCount_ = changeCount;
  readRetryCount_ = 0;
}

std::optional<ClipItem> ClipboardMonitor::readContent() const {
  if (auto clip = readImage()) return clip;
  if (auto clip = readRichText()) return clip;
  return readPlainText();
}

std::optional<ClipItem> ClipboardMonitor::readImage() const {
  if (!offersImage(pasteboard_.types())) return std::nullopt;
  std::optional<Bytes> encoded = pasteboard_.data(PasteboardType::tiff);
  if (!encoded) encoded = pasteboard_.data(PasteboardType::png);
  if (!encoded) return std::nullopt;
  const std::shared_ptr<const Image> image = imageCodec_.decode(*encoded);
  if (!image) return std::nullopt;
  std::optional<Bytes> thumbnail = thumbnailGenerator_.thumbnailData(*image);
  if (!thumbnail) return std::nullopt;
  return newClip(ClipType::image, std::nullopt, std::nullopt, std::move(thumbnail));
}

std::optional<ClipItem> ClipboardMonitor::readRichText() const {
  std::optional<Bytes> rtf = pasteboard_.data(PasteboardType::rtf);
  if (!rtf) return std::nullopt;
  return newClip(ClipType::rtf, pasteboard_.string(PasteboardType::string), std::move(rtf),
                 std::nullopt);
}

std::optional<ClipItem> ClipboardMonitor::readPlainText() const {
  std::optional<Text> text = pasteboard_.string(PasteboardType::string);
  if (!text || text->empty()) return std::nullopt;
  return newClip(ClipType::text, std::move(text), std::nullopt, std::nullopt);
}

}  // namespace stowboard
