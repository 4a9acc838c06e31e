#pragma once

namespace stowboard {

struct Platform;
class X11Pasteboard;

/// Makes the X11 adapters and wires them to each other, with an inert one and a line in the log for
/// each that this X server does not allow. Main thread; waits for the server's answers.
class X11Platform {
 public:
  /// Adds the pasteboard, which records from then on and needs no application object. The platform,
  /// which must outlive this, has its run loop, image codec and applications already.
  /// `thumbnailDimension` is the size in pixels for which copied images are prepared.
  X11Platform(Platform& platform, int thumbnailDimension);

  /// Adds the others.
  void addOthers();

 private:
  Platform& platform_;
  /// The platform's; null where there is none.
  X11Pasteboard* pasteboard_ = nullptr;
};

}  // namespace stowboard
