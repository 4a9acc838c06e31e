#include "Platform/X11/Selection/X11Pasteboard.h"

#include <utility>

namespace stowboard {

std::unique_ptr<X11Pasteboard> X11Pasteboard::create(RunLoop& runLoop, ImageCodec& codec,
                                                     const ApplicationIdentifying& applications,
                                                     const SelectionOptions& options) {
  std::unique_ptr<X11Pasteboard> pasteboard(new X11Pasteboard(runLoop));
  const auto makeSession = [&](ClipboardBackgrounds backgrounds) {
    return SelectionSession::create(codec, applications, options, std::move(backgrounds),
                                    pasteboard->receiver());
  };
  const bool isStarted =
      pasteboard->start(runLoop, makeSession,
                        "The connection to the X server is lost: no copies are recorded any more");
  return isStarted ? std::move(pasteboard) : nullptr;
}

}  // namespace stowboard
