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
#include "Platform/Image.h"
#include "Platform/Pasteboard.h"
#include "Platform/RunLoop.h"
#include "Platform/X11/SelectionThread.h"
#include "Platform/X11/SnapshotMaker.h"

namespace stowboard {

/// The CLIPBOARD selection of an X server (ICCCM 2, XFixes). A thread of its own fetches what other
/// programs copy; each content that is whole, decoded and within its bounds then becomes the
/// current one on the main thread. Content of an owner that fails is announced with what came.
///
/// When an owner offers both TIFF and PNG, only TIFF is fetched unless it proves to be no image.
class X11Pasteboard : public Pasteboard {
 public:
  struct Options {
    /// The X server; empty means $DISPLAY.
    std::string display;
    SelectionLimits limits;
    /// The size in pixels for which images are prepared.
    int thumbnailDimension = 300;
    /// Called once, on the main thread, when the X server is gone. Nothing moves after that.
    std::function<void()> onConnectionLost;
  };

  /// Null when there is no X server, or one without XFixes. Waits for the server's answers. The run
  /// loop and the codec must outlive the pasteboard. Content that is there already is not read.
  static std::unique_ptr<X11Pasteboard> create(RunLoop& runLoop, ImageCodec& codec,
                                               Options options);
  /// Ends the thread. Nothing is called any more once this returns.
  ~X11Pasteboard() override;

  std::int64_t changeCount() const override { return changeCount_; }
  std::optional<std::vector<std::string>> types() const override { return current_->types; }
  std::optional<Bytes> data(std::string_view type) const override;
  std::optional<Text> string(std::string_view type) const override;
  bool announcesMoves() const override { return true; }

 private:
  X11Pasteboard(RunLoop& runLoop, ImageCodec& codec, Options options);

  void postToSelf(std::function<void(X11Pasteboard&)> task);
  void receive(FetchedContent content);
  void announce(FetchedContent content);
  void adopt(std::shared_ptr<const ClipboardSnapshot> snapshot);
  void reportLostConnection();

  RunLoop& runLoop_;
  const Options options_;
  SnapshotMaker maker_;
  std::int64_t changeCount_ = 0;
  std::shared_ptr<const ClipboardSnapshot> current_ = std::make_shared<ClipboardSnapshot>();
  // What tasks posted to the main thread find the pasteboard by, while there is one.
  const std::shared_ptr<X11Pasteboard*> self_ = std::make_shared<X11Pasteboard*>(this);

  std::atomic<bool> isEnding_ = false;
  // Contents that the queue has not finished with. Only the selection thread adds to it.
  std::atomic<int> queued_ = 0;
  // Prepares large contents, so that the selection thread stays free for the next owner.
  SerialQueue preparation_{"clipboard"};
  std::unique_ptr<SelectionThread> thread_;
};

}  // namespace stowboard
