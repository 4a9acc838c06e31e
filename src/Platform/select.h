#pragma once

#include <memory>
#include <string>

#include "Platform/Platform.h"

namespace stowboard {

/// The display server that the program will use.
struct DisplaySelection {
  /// Not empty when there is none that can be used: why, in one line for the user.
  std::string refusal;
  /// A Wayland session, which the program reaches through XWayland.
  bool isWaylandSession = false;

  bool isUsable() const { return refusal.empty(); }
};

/// Looks at the session before any toolkit does. Waits for the X server's answer.
DisplaySelection selectDisplay(const Bundle& bundle);

/// Decides which adapters run and logs the choice and the reason. Needs the application object;
/// main thread. `thumbnailDimension` is the size in pixels for which copied images are prepared.
Platform selectPlatform(const DisplaySelection& display, std::unique_ptr<Bundle> bundle,
                        int thumbnailDimension);

}  // namespace stowboard
