#pragma once

#include <functional>
#include <memory>

#include "Platform/ApplicationIdentifying.h"
#include "Platform/Clipboard/SnapshotPasteboard.h"
#include "Platform/Image.h"
#include "Platform/RunLoop.h"
#include "Platform/X11/Selection/SelectionThread.h"

namespace stowboard {

/// The CLIPBOARD selection of an X server (ICCCM 2, XFixes). A thread of its own fetches what other
/// programs copy; each content that is whole, decoded and within its bounds then becomes the
/// current one on the main thread. Content of an owner that fails is announced with what came.
///
/// When an owner offers both TIFF and PNG, only TIFF is fetched unless it proves to be no image.
///
/// Requesters are served from that thread too. The content of another program that ends is offered
/// in its place, unless it was a secret, did not come whole, or the desktop has a clipboard
/// manager.
///
/// This class belongs to the main thread; the SelectionSession does what the other one does.
class X11Pasteboard : public SnapshotPasteboard {
 public:
  /// Null when there is no X server, or one without XFixes. Waits for the server's answers. What is
  /// passed by reference must outlive the pasteboard. Content that is there already is not read.
  static std::unique_ptr<X11Pasteboard> create(RunLoop& runLoop, ImageCodec& codec,
                                               const ApplicationIdentifying& applications,
                                               const SelectionOptions& options);
  /// Publishes what was written in this turn, hands our content over to the clipboard manager, if
  /// there is one, for which it waits within SelectionOptions::handOver, and ends the thread.
  /// Nothing is called any more once this returns.
  ~X11Pasteboard() override;

  /// Offers what was last written as the PRIMARY selection as well, which some terminals paste
  /// instead of the clipboard, until another program takes that.
  void offerPrimary();

  /// Calls `done` on another thread once other programs are given all that was written and offered
  /// before. Never, when this is destroyed first.
  void whenPublished(std::function<void()> done);

 private:
  using SnapshotPasteboard::SnapshotPasteboard;

  void keep(std::shared_ptr<const ClipboardSnapshot> copy) override;
  void askAgain(std::uint64_t copyNumber) override;
  void beginWrite(std::uint64_t writeNumber) override {
    thread_->beginWrite(static_cast<std::uint32_t>(writeNumber));
  }
  void publish(std::uint64_t writeNumber, std::shared_ptr<ClipboardOffer> offer) override;
  void commit() override;

  // The thread's; handed back to it when PRIMARY is to be offered.
  std::shared_ptr<ClipboardOffer> published_;
  bool isPrimaryWanted_ = false;
  std::unique_ptr<SelectionThread> thread_;
};

}  // namespace stowboard
