#pragma once

namespace stowboard {

struct Platform;

/// Makes the X11 adapters and wires them to each other, with an inert one and a line in the log for
/// each that this X server does not allow. The platform has its run loop, image codec and
/// applications already. Main thread; waits for the server's answers. `thumbnailDimension` is the
/// size in pixels for which copied images are prepared.
void addX11Adapters(Platform& platform, int thumbnailDimension);

}  // namespace stowboard
