#include "UI/Panel/HistoryPreparation.h"

#include <QElapsedTimer>
#include <utility>

namespace stowboard {

namespace {

// Less than a frame, so that nothing the user does is held up.
constexpr qint64 sliceMilliseconds = 3;

}  // namespace

HistoryPreparation::HistoryPreparation(HistoryRowView& rows, ThumbnailCache& thumbnails)
    : rows_(rows), thumbnails_(thumbnails) {
  // Without an interval it fires when no event waits.
  QObject::connect(&idle_, &QTimer::timeout, &idle_, [this] { runSlice(); });
}

HistoryPreparation::~HistoryPreparation() { *isCancelled_ = true; }

void HistoryPreparation::start(AppState::Clips clips, qreal devicePixelRatio,
                               std::function<void()> onDidMeasure) {
  clips_ = std::move(clips);
  onDidMeasure_ = std::move(onDidMeasure);
  prepareThumbnails(clips_, devicePixelRatio);
  prepareSearch(clips_);
  idle_.start();
}

void HistoryPreparation::follow(const AppState::Clips& clips, qreal devicePixelRatio) {
  prepareThumbnails(clips, devicePixelRatio);
  if (!clips.empty()) prepareSearch({clips.front()});
}

void HistoryPreparation::prepareSearch(AppState::Clips clips) {
  searchQueue_.async([clips = std::move(clips), isCancelled = isCancelled_] {
    for (const ClipItem& clip : clips) {
      if (*isCancelled) return;
      if (clip.textContent()) clip.textContent()->prepareForSearch();
    }
  });
}

void HistoryPreparation::prepareThumbnails(const AppState::Clips& clips, qreal devicePixelRatio) {
  for (const ClipItem& clip : clips) {
    if (clip.imageData()) thumbnails_.prepare(clip, devicePixelRatio);
  }
}

void HistoryPreparation::runSlice() {
  QElapsedTimer elapsed;
  elapsed.start();
  while (next_ < clips_.size() && elapsed.elapsed() < sliceMilliseconds) {
    rows_.measure(clips_[next_++]);
  }
  if (next_ < clips_.size()) return;
  idle_.stop();
  clips_.clear();
  if (const auto done = std::exchange(onDidMeasure_, nullptr)) done();
}

}  // namespace stowboard
