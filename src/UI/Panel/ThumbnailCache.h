#pragma once

#include <QCache>
#include <QObject>
#include <QPixmap>
#include <cstdint>
#include <functional>
#include <memory>
#include <unordered_set>

#include "Base/SerialQueue.h"
#include "Models/ClipItem.h"

namespace stowboard {

/// The small pictures of image clips, decoded once, on a thread of their own. Bounded in bytes:
/// those that were asked for the longest ago go first. Main thread.
///
/// Takes the formats that clips are kept in and no vector graphics, and refuses a picture of more
/// than maxSourcePixels by its header, before memory is taken.
class ThumbnailCache {
 public:
  /// Width and height in device-independent pixels, and the radius of its corners.
  static constexpr int side = 28;
  static constexpr int cornerRadius = 4;
  static constexpr long long maxSourcePixels = 4ll << 20;

  struct Thumbnail {
    enum class State { loading, ready, undecodable };
    State state = State::loading;
    /// Square, the picture fitted into its middle with its proportions kept. Null unless ready.
    QPixmap pixmap;
  };

  explicit ThumbnailCache(qsizetype maxBytes = 4 << 20);
  ~ThumbnailCache();
  ThumbnailCache(const ThumbnailCache&) = delete;
  ThumbnailCache& operator=(const ThumbnailCache&) = delete;

  /// What there is of the clip's image data, which must be present. A missing thumbnail is decoded
  /// next, before those that are only prepared. Another ratio than before forgets all.
  Thumbnail thumbnail(const ClipItem& clip, qreal devicePixelRatio);

  /// Has the clip's image decoded ahead, unless there is no room left without losing another.
  void prepare(const ClipItem& clip, qreal devicePixelRatio);

  /// Forgets what it has of every other clip.
  void keepOnly(const std::unordered_set<Uuid>& ids);

  /// A thumbnail that was loading is no longer. Called on the main thread.
  std::function<void()> onDidLoad;

 private:
  class Requests;
  enum class Urgency { now, ahead };

  void useRatio(qreal devicePixelRatio);
  void request(const ClipItem& clip, Urgency urgency);
  void receive(std::uint64_t generation, const Uuid& id, const QImage& image);
  int pixelSide() const;
  qsizetype bytesOfOne() const;

  QCache<Uuid, Thumbnail> thumbnails_;
  std::unordered_set<Uuid> requested_;
  qreal devicePixelRatio_ = 0;
  /// Tells results of an earlier ratio.
  std::uint64_t generation_ = 0;
  const std::shared_ptr<Requests> requests_;
  /// What results are delivered to.
  QObject receiver_;
  /// Destroyed first: nothing is delivered after that.
  SerialQueue queue_{"thumbnails"};
};

}  // namespace stowboard
