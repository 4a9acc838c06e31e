#pragma once

#include <chrono>
#include <memory>
#include <optional>

#include "Platform/Clipboard/ClipboardSnapshot.h"
#include "Platform/Clipboard/TransferBuffer.h"
#include "Platform/X11/Selection/SelectionClaim.h"
#include "Platform/X11/X11Connection.h"

namespace stowboard {

/// Keeps the last copy available when its program ends: once the clipboard has been without an
/// owner for a moment, offers the copy in that program's place, as soon as it is there. A desktop
/// with a clipboard manager needs none of it. Belongs to the selection thread.
class SelectionTakeover {
 public:
  /// `settling`: how long the clipboard may be without an owner.
  SelectionTakeover(X11Connection& connection, SelectionClaim& clipboard,
                    std::chrono::milliseconds settling)
      : connection_(connection), clipboard_(clipboard), settling_(settling) {}

  /// What was copied last, whole.
  void keep(std::shared_ptr<const ClipboardSnapshot> copy);
  /// The program that copied last has ended.
  void begin();
  /// The last copy does not count any more.
  void forget();

  std::optional<SteadyTime> deadline() const { return settlingEnd_; }
  void expire();

 private:
  void takeWhenReady();

  X11Connection& connection_;
  SelectionClaim& clipboard_;
  const std::chrono::milliseconds settling_;
  std::shared_ptr<const ClipboardSnapshot> copy_;
  std::optional<SteadyTime> settlingEnd_;
  // Time is up, but the copy may still be in preparation.
  bool isDue_ = false;
};

}  // namespace stowboard
