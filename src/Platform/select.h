#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "Platform/ApplicationPresence.h"
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

/// What the program knows before anything else is chosen.
std::unique_ptr<Bundle> selectBundle();

/// Looks at the session before any toolkit does. Waits for the X server's answer.
DisplaySelection selectDisplay(const Bundle& bundle);

/// Makes the program the only one of its user's session, or has the one that runs show itself.
/// Needs no toolkit. Waits, but no longer than `bound`.
ApplicationPresence::Claim claimPresence(const Bundle& bundle, std::chrono::milliseconds bound);

/// Decides which adapters run and logs the choice and the reason. Needs the application object;
/// main thread. `thumbnailDimension` is the size in pixels for which copied images are prepared.
Platform selectPlatform(const DisplaySelection& display, std::unique_ptr<Bundle> bundle,
                        int thumbnailDimension);

}  // namespace stowboard
