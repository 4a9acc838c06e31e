#pragma once

#include <functional>
#include <memory>

namespace stowboard {

struct Platform;
class KdeShortcuts;
class KwinScript;
class SwayIpc;
class TypingDevice;
class WaylandMainConnection;
class WaylandPasteboard;

/// Makes the adapters of a Wayland session whose compositor lets programs see its clipboard, and
/// wires them to each other. The windows stay XWayland's: what belongs to them, and what this
/// compositor does not offer, is left empty for the X11 adapters. Main thread; waits for the
/// compositor's answers.
class WaylandPlatform {
 public:
  /// Adds the pasteboard, which records from then on and needs no application object. The platform,
  /// which must outlive this, has its bundle, run loop, image codec and applications already.
  /// `thumbnailDimension` is the size in pixels for which copied images are prepared. Null, with
  /// nothing added, when this is no such session.
  /// `isSecretOnX11` tells, on the pasteboard's own thread, whether an X11 program has a secret on
  /// the clipboard.
  static std::unique_ptr<WaylandPlatform> create(Platform& platform, int thumbnailDimension,
                                                 std::function<bool()> isSecretOnX11);

  /// Adds the others.
  void addOthers();
  /// Whether the compositor has a service of its own for hot keys.
  bool hasHotKeys() const { return sway_ || kdeShortcuts_; }
  /// Adds what is built on the X11 adapters.
  void addOnTop();

 private:
  WaylandPlatform(Platform& platform, WaylandPasteboard& pasteboard)
      : platform_(platform), pasteboard_(pasteboard) {}

  void addHotKeys();
  /// `Followed` is a workspace that tells what a keystroke needs to know.
  template <typename Followed>
  void addWorkspaceAndPoster(std::unique_ptr<Followed> workspace);
  std::unique_ptr<TypingDevice> typingDevice() const;

  Platform& platform_;
  WaylandPasteboard& pasteboard_;
  /// Absent where the session is not theirs.
  std::shared_ptr<SwayIpc> sway_;
  std::shared_ptr<KdeShortcuts> kdeShortcuts_;
  std::shared_ptr<KwinScript> kwin_;
  std::shared_ptr<WaylandMainConnection> connection_;
};

}  // namespace stowboard
