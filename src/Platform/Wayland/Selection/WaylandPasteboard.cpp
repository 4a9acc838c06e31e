#include "Platform/Wayland/Selection/WaylandPasteboard.h"

#include <utility>

namespace stowboard {

std::unique_ptr<WaylandPasteboard> WaylandPasteboard::create(
    RunLoop& runLoop, ImageCodec& codec, const ApplicationIdentifying& applications,
    const DataControlOptions& options) {
  std::unique_ptr<WaylandPasteboard> pasteboard(new WaylandPasteboard(runLoop));
  const auto makeSession = [&](ClipboardBackgrounds backgrounds) {
    return DataControlSession::create(codec, applications, options, std::move(backgrounds),
                                      pasteboard->receiver());
  };
  const bool isStarted = pasteboard->start(
      runLoop, makeSession,
      "The connection to the compositor is lost: no copies are recorded any more");
  return isStarted ? std::move(pasteboard) : nullptr;
}

}  // namespace stowboard
