#pragma once

#include <xcb/sync.h>

#include <cstdint>
#include <memory>

#include "Platform/X11/X11MainConnection.h"

namespace stowboard {

/// Has the X server keep back what is typed, and play it to whatever window has the focus when it
/// is told to go on. The server itself goes on after 250 ms: it is given the end beforehand, behind
/// a wait of the SYNC extension, so that nothing depends on this program running. Main thread.
class X11KeyboardHold {
 public:
  /// `holding` is the connection of the grab that is in force when a hold begins; its requests wait
  /// as long as the hold lasts. `ending` is another one. Null where the server has no SYNC
  /// extension with a clock. Waits for one round trip.
  static std::unique_ptr<X11KeyboardHold> create(std::shared_ptr<X11MainConnection> holding,
                                                 std::shared_ptr<X11MainConnection> ending);
  ~X11KeyboardHold();

  void begin();
  /// Does nothing when none has begun since the last end.
  void end();

 private:
  X11KeyboardHold(std::shared_ptr<X11MainConnection> holding,
                  std::shared_ptr<X11MainConnection> ending, xcb_sync_counter_t clock);

  const std::shared_ptr<X11MainConnection> holding_;
  const std::shared_ptr<X11MainConnection> ending_;
  /// The server's, in milliseconds.
  const xcb_sync_counter_t clock_;
  /// Ours, set to the number of the last hold that is to end.
  const xcb_sync_counter_t ended_;
  std::uint32_t begun_ = 0;
  bool isHeld_ = false;
};

}  // namespace stowboard
