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

/// Decides which adapters run and logs the choice and the reason. In two steps, so that what is
/// copied while the toolkit starts is recorded. Main thread.
class PlatformSelection {
 public:
  /// Makes what records copies, which needs no application object. `thumbnailDimension` is the size
  /// in pixels for which copied images are prepared.
  PlatformSelection(const DisplaySelection& display, std::unique_ptr<Bundle> bundle,
                    int thumbnailDimension);
  ~PlatformSelection();

  /// Makes the rest, with the application object. Called once.
  const Platform& complete();

 private:
  class WindowSystem;

  Platform platform_;
  std::unique_ptr<WindowSystem> windowSystem_;
};

}  // namespace stowboard
