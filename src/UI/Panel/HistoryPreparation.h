#pragma once

#include <QTimer>
#include <atomic>
#include <functional>
#include <memory>

#include "Base/SerialQueue.h"
#include "Core/AppState.h"
#include "UI/Panel/HistoryRowView.h"
#include "UI/Panel/ThumbnailCache.h"

namespace stowboard {

/// Readies clips for being listed and searched before anyone waits for it: previews are measured on
/// the main thread, a few milliseconds at a time while the event loop is idle, thumbnails and the
/// search forms of texts are made on threads of their own. Main thread.
class HistoryPreparation {
 public:
  /// Both must outlive it.
  HistoryPreparation(HistoryRowView& rows, ThumbnailCache& thumbnails);
  ~HistoryPreparation();

  /// Called once; begins with the first clip. `onDidMeasure` is called when every clip is measured.
  void start(AppState::Clips clips, qreal devicePixelRatio, std::function<void()> onDidMeasure);

  /// After each later change of the history, which may have brought a new first clip. Rows are left
  /// to the next opening, where one takes some 25 µs: a program that only records touches as little
  /// as it can.
  void follow(const AppState::Clips& clips, qreal devicePixelRatio);

 private:
  void runSlice();
  void prepareThumbnails(const AppState::Clips& clips, qreal devicePixelRatio);
  void prepareSearch(AppState::Clips clips);

  HistoryRowView& rows_;
  ThumbnailCache& thumbnails_;
  AppState::Clips clips_;
  std::size_t next_ = 0;
  std::function<void()> onDidMeasure_;
  QTimer idle_;
  /// Set when the texts that are being prepared are no longer wanted.
  const std::shared_ptr<std::atomic<bool>> isCancelled_ =
      std::make_shared<std::atomic<bool>>(false);
  SerialQueue searchQueue_{"search"};
};

}  // namespace stowboard
