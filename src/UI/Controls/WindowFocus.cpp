#include "UI/Controls/WindowFocus.h"

#include <unistd.h>

namespace stowboard {

WindowFocus::WindowFocus(Workspace& workspace, const Bundle& bundle)
    : workspace_(workspace), bundle_(bundle) {}

void WindowFocus::take(std::uint64_t ownWindow) {
  workspace_.activate({bundle_.identifier(), ::getpid(), ownWindow});
}

void WindowFocus::remember() { before_ = workspace_.frontmostApplication(); }

void WindowFocus::giveBack() {
  if (before_) workspace_.activate(*before_);
  before_.reset();
}

}  // namespace stowboard
