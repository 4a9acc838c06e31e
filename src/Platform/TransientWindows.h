#pragma once

#include <cstdint>
#include <functional>
#include <memory>

namespace stowboard {

/// What our windows need that come up for a moment, above all others, and go when the user turns to
/// anything else. Windows are named by the window system's own numbers. Main thread.
class TransientWindows {
 public:
  /// Watches for as long as it lives.
  class Watch {
   public:
    virtual ~Watch() = default;
    /// Called when a button is let go, or a finger lifted, anywhere. Absent at first.
    std::function<void()> onRelease;
    /// Called when the window has the focus for the window system, so that keys go to it; a toolkit
    /// may believe so earlier. Absent at first.
    std::function<void()> onFocus;
  };

  virtual ~TransientWindows() = default;

  /// To be called before each time that the window is shown, with the size that it will have. Keeps
  /// it out of task bars and pagers, and leaves its outermost `shadowMargin` pixels, of the
  /// screen's own, out of what the window manager places and of what takes clicks. 0 for no margin.
  virtual void prepareToShow(std::uint64_t window, int shadowMargin) = 0;

  /// Calls `onClickOutside` on the main thread when a button is pressed, or a screen touched,
  /// anywhere but in the window: also where no window takes the focus for it, as on a dock or on
  /// the bare desktop. The click reaches whatever it was meant for all the same. Turning a wheel is
  /// no click. While it is watched, the window also counts as active when another program takes the
  /// keyboard for the length of a hot key. One window at a time; the callback may end the watch.
  /// Where the window system does not tell, the callback is never called.
  virtual std::unique_ptr<Watch> watch(std::uint64_t window,
                                       std::function<void()> onClickOutside) = 0;
};

}  // namespace stowboard
