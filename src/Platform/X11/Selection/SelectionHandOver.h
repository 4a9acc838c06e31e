#pragma once

#include <chrono>
#include <optional>

#include "Platform/Clipboard/TransferBuffer.h"
#include "Platform/X11/Selection/SelectionClaim.h"
#include "Platform/X11/X11Connection.h"

namespace stowboard {

/// Has the desktop's clipboard manager, where there is one, save what we own before we end (the
/// freedesktop.org clipboard manager standard). Belongs to the selection thread.
class SelectionHandOver {
 public:
  /// The manager answers to `window`; `patience` is what it has for that.
  SelectionHandOver(X11Connection& connection, xcb_window_t window, const SelectionClaim& clipboard,
                    std::chrono::milliseconds patience)
      : connection_(connection), window_(window), clipboard_(clipboard), patience_(patience) {}

  void begin();
  bool hasBegun() const { return hasBegun_; }
  bool isUnderWay() const { return end_.has_value(); }
  /// Goes on unless a write of ours is still to take effect.
  void proceed(bool isWriting);
  /// The manager has answered.
  void end() { end_.reset(); }

  std::optional<SteadyTime> deadline() const { return end_; }
  void expire();

 private:
  void requestSaving();

  X11Connection& connection_;
  const xcb_window_t window_;
  const SelectionClaim& clipboard_;
  const std::chrono::milliseconds patience_;
  bool hasBegun_ = false;
  bool isSavingRequested_ = false;
  // Set while it is under way.
  std::optional<SteadyTime> end_;
};

}  // namespace stowboard
