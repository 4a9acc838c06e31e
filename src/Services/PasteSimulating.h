#pragma once

#include "Models/ClipItem.h"

namespace stowboard {

/// Uses a clip. Main thread.
class PasteSimulating {
 public:
  virtual ~PasteSimulating() = default;

  /// Puts the clip on the pasteboard and, in direct-paste mode, pastes it into the application that
  /// the user was in. Returns at once; failures are logged.
  virtual void activate(const ClipItem& clip) = 0;
};

}  // namespace stowboard
