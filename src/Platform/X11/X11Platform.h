#pragma once

namespace stowboard {

struct Platform;
class X11MainConnection;

/// Makes the X11 adapters and wires them to each other, with an inert one and a line in the log for
/// each that this X server does not allow. Main thread; waits for the server's answers.
class X11Platform {
 public:
  /// The platform, which must outlive this, has its run loop, image codec and applications already.
  explicit X11Platform(Platform& platform) : platform_(platform) {}

  /// Adds the pasteboard, which records from then on and needs no application object.
  /// `thumbnailDimension` is the size in pixels for which copied images are prepared.
  void addPasteboard(int thumbnailDimension);

  /// Adds the others, where the platform has none yet.
  void addOthers();

 private:
  void addPoster(const X11MainConnection* connection);

  Platform& platform_;
};

}  // namespace stowboard
