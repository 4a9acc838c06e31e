#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "Core/AppState.h"
#include "Platform/Image.h"
#include "Platform/Pasteboard.h"
#include "Platform/RunLoop.h"
#include "Services/ClipboardMonitoring.h"
#include "Services/ThumbnailGenerator.h"
#include "Utils/ExcludedAppChecker.h"

namespace stowboard {

/// Reads every change of the pasteboard into a clip and hands it to the state. Skips our own writes
/// and the copies of excluded applications; gives an unreadable change up after three attempts,
/// each made when the owner was asked once more, or at once when the owner is gone.
///
/// Looks at the change count twice a second. Where the pasteboard announces its moves it looks at
/// once, and the half-second ticks run only while a change is still to be dealt with, so that an
/// idle program sleeps. Main thread.
class ClipboardMonitor : public ClipboardMonitoring {
 public:
  using ExcludedBundleIdsProvider = std::function<std::set<std::string>()>;

  /// The pasteboard, the codec and the run loop must outlive the monitor.
  ClipboardMonitor(Pasteboard& pasteboard, std::shared_ptr<AppState> appState,
                   ThumbnailGenerator thumbnailGenerator,
                   std::unique_ptr<FrontmostAppProviding> frontmostApp,
                   ExcludedBundleIdsProvider excludedBundleIdsProvider, ImageCodec& imageCodec,
                   RunLoop& runLoop);
  ~ClipboardMonitor() override;
  ClipboardMonitor(const ClipboardMonitor&) = delete;
  ClipboardMonitor& operator=(const ClipboardMonitor&) = delete;

  void start() override;
  void stop() override;
  void markSelfWrite() override;

 private:
  void tick();
  void poll();
  bool isOwnWrite(std::int64_t changeCount);
  bool isExcluded() const;
  void record(const ClipItem& clip);
  void handleUnreadable(std::int64_t changeCount);
  void giveUp(std::int64_t changeCount);
  void runTicksWhileNeeded();

  std::optional<ClipItem> readContent() const;
  std::optional<ClipItem> readImage() const;
  std::optional<ClipItem> readRichText() const;
  std::optional<ClipItem> readPlainText() const;

  Pasteboard& pasteboard_;
  const std::shared_ptr<AppState> appState_;
  const ThumbnailGenerator thumbnailGenerator_;
  const std::unique_ptr<FrontmostAppProviding> frontmostApp_;
  const ExcludedBundleIdsProvider excludedBundleIdsProvider_;
  ImageCodec& imageCodec_;
  RunLoop& runLoop_;

  bool isStarted_ = false;
  std::unique_ptr<RunLoop::Timer> timer_;
  /// The change that has been dealt with: recorded, skipped or given up.
  std::int64_t lastChangeCount_;
  std::optional<std::int64_t> selfWriteCount_;
  /// Not tied to one change: failures of a change that was replaced count towards the next.
  int readRetryCount_ = 0;
};

}  // namespace stowboard
