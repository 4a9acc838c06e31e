#pragma once

#include <unistd.h>

#include <cstdint>
#include <optional>

#include "Platform/Bundle.h"
#include "Platform/Workspace.h"

namespace stowboard {

/// Moves the focus between windows on behalf of the user, who has asked for it by a hot key or a
/// click: the toolkit has not seen that, and its own requests carry the time of the last act in one
/// of our windows, for which window managers refuse the focus. Main thread.
class WindowFocus {
 public:
  /// Both must outlive it.
  WindowFocus(Workspace& workspace, const Bundle& bundle)
      : workspace_(workspace), bundle_(bundle) {}

  /// Brings a window of this program to the front, by the window system's own number.
  void take(std::uint64_t ownWindow) {
    workspace_.activate({bundle_.identifier(), ::getpid(), ownWindow});
  }
  /// Notes whose window has it.
  void remember() { before_ = workspace_.frontmostApplication(); }
  /// Gives it to the window that had it then, once; window managers choose by rules of their own.
  void giveBack() {
    if (before_) workspace_.activate(*before_);
    before_.reset();
  }

 private:
  Workspace& workspace_;
  const Bundle& bundle_;
  std::optional<RunningApplication> before_;
};

}  // namespace stowboard
