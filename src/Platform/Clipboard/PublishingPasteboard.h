#pragma once

#include <functional>

namespace stowboard {

/// What a paste's keystroke asks of a pasteboard, whichever window system either belongs to. Main
/// thread.
class PublishingPasteboard {
 public:
  virtual ~PublishingPasteboard() = default;

  /// Offers what was last written as the primary selection as well, which some terminals paste
  /// instead of the clipboard, until another program takes that.
  virtual void offerPrimary() = 0;

  /// Calls `done` on another thread once other programs are given all that was written and offered
  /// before. Never, when this is destroyed first.
  virtual void whenPublished(std::function<void()> done) = 0;
};

}  // namespace stowboard
