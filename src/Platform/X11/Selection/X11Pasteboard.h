#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Base/SerialQueue.h"
#include "Platform/Clipboard/SnapshotMaker.h"
#include "Platform/Image.h"
#include "Platform/Pasteboard.h"
#include "Platform/RunLoop.h"
#include "Platform/X11/Selection/SelectionThread.h"

namespace stowboard {

/// The CLIPBOARD selection of an X server (ICCCM 2, XFixes). A thread of its own fetches what other
/// programs copy; each content that is whole, decoded and within its bounds then becomes the
/// current one on the main thread. Content of an owner that fails is announced with what came.
///
/// When an owner offers both TIFF and PNG, only TIFF is fetched unless it proves to be no image.
///
/// What is written goes to that thread at the end of the turn, and counts from clearContents() on;
/// requesters are served from it there. The content of another program that ends is offered in its
/// place, unless it was a secret, did not come whole, or the desktop has a clipboard manager.
class X11Pasteboard : public Pasteboard {
 public:
  struct Options {
    /// The X server; empty means $DISPLAY.
    std::string display;
    SelectionLimits limits;
    ServingTimes serving;
    /// The size in pixels for which images are prepared.
    int thumbnailDimension = 300;
    /// Called once, on the main thread, when the X server is gone. Nothing moves after that.
    std::function<void()> onConnectionLost;
  };

  /// Null when there is no X server, or one without XFixes. Waits for the server's answers. The run
  /// loop and the codec must outlive the pasteboard. Content that is there already is not read.
  static std::unique_ptr<X11Pasteboard> create(RunLoop& runLoop, ImageCodec& codec,
                                               Options options);
  /// Publishes what was written in this turn, hands our content over as handOver() does, and ends
  /// the thread. Waits for the clipboard manager, if there is one, within ServingTimes. Nothing is
  /// called any more once this returns.
  ~X11Pasteboard() override;

  std::int64_t changeCount() const override { return changeCount_; }
  std::optional<std::vector<std::string>> types() const override { return current_->types; }
  std::optional<Bytes> data(std::string_view type) const override;
  std::optional<Text> string(std::string_view type) const override;
  bool announcesMoves() const override { return true; }

  void clearContents() override;
  void setString(const Text& text, std::string_view type) override;
  void setData(const Bytes& data, std::string_view type) override;
  void writeImage(std::shared_ptr<const Image> image) override;
  void handOver(std::function<void()> done) override;

  /// Offers what was last written as the PRIMARY selection as well, which some terminals paste
  /// instead of the clipboard, until another program takes that.
  void offerPrimary();

  /// Calls `done` on another thread once other programs are given all that was written and offered
  /// before. Never, when this is destroyed first.
  void whenPublished(std::function<void()> done);

 private:
  X11Pasteboard(RunLoop& runLoop, ImageCodec& codec, Options options);

  void postToSelf(std::function<void(X11Pasteboard&)> task);
  void receive(FetchedContent content);
  void announce(FetchedContent content);
  void adopt(std::shared_ptr<const ClipboardSnapshot> snapshot, std::uint64_t writeNumber);
  ClipboardSnapshot* draft();
  void scheduleCommit();
  void commit();
  void reportLostConnection();

  RunLoop& runLoop_;
  const Options options_;
  SnapshotMaker maker_;
  std::int64_t changeCount_ = 0;
  std::shared_ptr<const ClipboardSnapshot> current_ = std::make_shared<ClipboardSnapshot>();
  // Counts the calls of clearContents().
  std::uint64_t writeNumber_ = 0;
  bool isOurs_ = false;
  // The current content while it is being written.
  std::shared_ptr<ClipboardSnapshot> draft_;
  std::shared_ptr<ClipboardOffer> published_;
  bool isCommitScheduled_ = false;
  bool isPrimaryWanted_ = false;
  // What tasks posted to the main thread find the pasteboard by, while there is one.
  const std::shared_ptr<X11Pasteboard*> self_ = std::make_shared<X11Pasteboard*>(this);

  std::atomic<bool> isEnding_ = false;
  // Contents that the queue has not finished with. Only the selection thread adds to it.
  std::atomic<int> queued_ = 0;
  std::unique_ptr<SelectionThread> thread_;
  // Prepares large contents, so that the selection thread stays free for the next owner. Its tasks
  // tell that thread what they made.
  SerialQueue preparation_{"clipboard"};
};

}  // namespace stowboard
