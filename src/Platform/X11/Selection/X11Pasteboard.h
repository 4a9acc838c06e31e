#pragma once

#include <memory>

#include "Platform/ApplicationIdentifying.h"
#include "Platform/Clipboard/ThreadedPasteboard.h"
#include "Platform/Image.h"
#include "Platform/RunLoop.h"
#include "Platform/X11/Selection/SelectionSession.h"

namespace stowboard {

/// The CLIPBOARD selection of an X server (ICCCM 2, XFixes).
///
/// When an owner offers both TIFF and PNG, only TIFF is fetched unless it proves to be no image.
/// The content of another program that ends is offered in its place, unless it was a secret, did
/// not come whole, or the desktop has a clipboard manager; that one is given what we own when the
/// pasteboard ends, within SelectionOptions::handOver.
class X11Pasteboard : public ThreadedPasteboard<SelectionSession> {
 public:
  /// Null when there is no X server, or one without XFixes. Waits for the server's answers. What is
  /// passed by reference must outlive the pasteboard. Content that is there already is not read.
  static std::unique_ptr<X11Pasteboard> create(RunLoop& runLoop, ImageCodec& codec,
                                               const ApplicationIdentifying& applications,
                                               const SelectionOptions& options);

 private:
  using ThreadedPasteboard::ThreadedPasteboard;

  void beginWrite(std::uint64_t writeNumber) override {
    session().beginWrite(static_cast<std::uint32_t>(writeNumber));
  }
};

}  // namespace stowboard
