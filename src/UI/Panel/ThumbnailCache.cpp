#include "UI/Panel/ThumbnailCache.h"

#include <QBuffer>
#include <QImage>
#include <QImageReader>
#include <QPainter>
#include <algorithm>
#include <array>
#include <cmath>
#include <deque>
#include <mutex>
#include <optional>
#include <utility>

#include "UI/Looks/Icons.h"

namespace stowboard {

namespace {

bool isAccepted(const QByteArray& format) {
  static const std::array<QByteArray, 7> formats{"jpeg", "jpg",  "png", "gif",
                                                 "bmp",  "webp", "tiff"};
  return std::ranges::find(formats, format) != formats.end();
}

// Decoded close to the size that is needed; null when it cannot be.
QImage decoded(const Bytes& data, int pixels) {
  QByteArray bytes =
      QByteArray::fromRawData(data.view().data(), static_cast<qsizetype>(data.size()));
  QBuffer buffer(&bytes);
  QImageReader reader(&buffer);
  reader.setAutoTransform(true);
  const QSize size = reader.size();
  if (!isAccepted(reader.format()) || size.isEmpty()) return {};
  if (static_cast<long long>(size.width()) * size.height() > ThumbnailCache::maxSourcePixels)
    return {};
  reader.setScaledSize(size.scaled(pixels, pixels, Qt::KeepAspectRatio).expandedTo({1, 1}));
  return reader.read();
}

QImage framed(const QImage& picture, int pixels) {
  QImage frame = emptySquare(pixels);
  QPainter painter(&frame);
  painter.drawImage((pixels - picture.width()) / 2, (pixels - picture.height()) / 2, picture);
  return frame;
}

QImage roundedThumbnail(const Bytes& data, int pixels, double radius) {
  const QImage picture = decoded(data, pixels);
  if (picture.isNull()) return {};
  QImage rounded = emptySquare(pixels);
  QPainter painter(&rounded);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  painter.setBrush(framed(picture, pixels));
  painter.drawRoundedRect(rounded.rect(), radius, radius);
  return rounded;
}

}  // namespace

// What waits to be decoded, the most urgent first. Safe to use from any thread.
class ThumbnailCache::Requests {
 public:
  struct Request {
    Uuid id;
    Bytes data;
    int pixels;
    double radius;
    std::uint64_t generation;
  };

  void add(Request request, Urgency urgency) {
    const std::lock_guard lock(mutex_);
    if (urgency == Urgency::now) {
      waiting_.push_front(std::move(request));
    } else {
      waiting_.push_back(std::move(request));
    }
  }

  void moveToFront(const Uuid& id) {
    const std::lock_guard lock(mutex_);
    const auto found = std::ranges::find(waiting_, id, &Request::id);
    if (found != waiting_.end()) std::rotate(waiting_.begin(), found, std::next(found));
  }

  std::optional<Request> take() {
    const std::lock_guard lock(mutex_);
    if (waiting_.empty()) return std::nullopt;
    auto request = std::move(waiting_.front());
    waiting_.pop_front();
    return request;
  }

  void clear() {
    const std::lock_guard lock(mutex_);
    waiting_.clear();
  }

 private:
  std::mutex mutex_;
  std::deque<Request> waiting_;
};

ThumbnailCache::ThumbnailCache(qsizetype maxBytes)
    : thumbnails_(maxBytes), requests_(std::make_shared<Requests>()) {}

// The queue's remaining tasks find nothing to do.
ThumbnailCache::~ThumbnailCache() { requests_->clear(); }

ThumbnailCache::Thumbnail ThumbnailCache::thumbnail(const ClipItem& clip, qreal devicePixelRatio) {
  useRatio(devicePixelRatio);
  if (const Thumbnail* known = thumbnails_.object(clip.id())) return *known;
  if (requested_.contains(clip.id())) {
    requests_->moveToFront(clip.id());
  } else {
    request(clip, Urgency::now);
  }
  return {};
}

void ThumbnailCache::prepare(const ClipItem& clip, qreal devicePixelRatio) {
  useRatio(devicePixelRatio);
  if (thumbnails_.contains(clip.id()) || requested_.contains(clip.id())) return;
  const auto promised = static_cast<qsizetype>(requested_.size() + 1) * bytesOfOne();
  if (thumbnails_.totalCost() + promised <= thumbnails_.maxCost()) request(clip, Urgency::ahead);
}

void ThumbnailCache::keepOnly(const std::unordered_set<Uuid>& ids) {
  for (const Uuid& id : thumbnails_.keys())
    if (!ids.contains(id)) thumbnails_.remove(id);
  std::erase_if(requested_, [&](const Uuid& id) { return !ids.contains(id); });
}

void ThumbnailCache::useRatio(qreal devicePixelRatio) {
  if (devicePixelRatio == devicePixelRatio_) return;
  devicePixelRatio_ = devicePixelRatio;
  ++generation_;
  thumbnails_.clear();
  requested_.clear();
  requests_->clear();
}

void ThumbnailCache::request(const ClipItem& clip, Urgency urgency) {
  requested_.insert(clip.id());
  requests_->add(
      {clip.id(), *clip.imageData(), pixelSide(), cornerRadius * devicePixelRatio_, generation_},
      urgency);
  queue_.async([this, requests = requests_] {
    const auto next = requests->take();
    if (!next) return;
    const QImage image = roundedThumbnail(next->data, next->pixels, next->radius);
    QMetaObject::invokeMethod(
        &receiver_,
        [this, generation = next->generation, id = next->id, image] {
          receive(generation, id, image);
        },
        Qt::QueuedConnection);
  });
}

void ThumbnailCache::receive(std::uint64_t generation, const Uuid& id, const QImage& image) {
  if (generation != generation_ || requested_.erase(id) == 0) return;
  auto thumbnail = std::make_unique<Thumbnail>();
  thumbnail->state = image.isNull() ? Thumbnail::State::undecodable : Thumbnail::State::ready;
  thumbnail->pixmap = QPixmap::fromImage(image);
  thumbnail->pixmap.setDevicePixelRatio(devicePixelRatio_);
  thumbnails_.insert(id, thumbnail.release(), bytesOfOne());
  if (onDidLoad) onDidLoad();
}

int ThumbnailCache::pixelSide() const {
  return static_cast<int>(std::ceil(side * devicePixelRatio_));
}

qsizetype ThumbnailCache::bytesOfOne() const { return qsizetype{4} * pixelSide() * pixelSide(); }

}  // namespace stowboard
