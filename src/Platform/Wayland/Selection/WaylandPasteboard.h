#pragma once

#include <memory>

#include "Platform/ApplicationIdentifying.h"
#include "Platform/Clipboard/ThreadedPasteboard.h"
#include "Platform/Image.h"
#include "Platform/RunLoop.h"
#include "Platform/Wayland/Selection/DataControlSession.h"

namespace stowboard {

/// The clipboard of a Wayland compositor that has data control. The last content of another program
/// is offered again when the clipboard becomes empty, unless it was a secret or did not come whole.
class WaylandPasteboard : public ThreadedPasteboard<DataControlSession> {
 public:
  /// Null when no compositor answers, or one without data control. Waits for the compositor's
  /// answers. What is passed by reference must outlive the pasteboard. Content that is there
  /// already is not read.
  static std::unique_ptr<WaylandPasteboard> create(RunLoop& runLoop, ImageCodec& codec,
                                                   const ApplicationIdentifying& applications,
                                                   const DataControlOptions& options);

 private:
  using ThreadedPasteboard::ThreadedPasteboard;

  void beginWrite(std::uint64_t writeNumber) override {
    post([writeNumber](DataControlSession& session) { session.beginWrite(writeNumber); });
  }
};

}  // namespace stowboard
