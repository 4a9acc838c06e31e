#pragma once

#include <memory>

namespace stowboard {

class Bundle;
struct Platform;
class GnomeClipboardBridge;
class GnomeShell;
class WaylandMainConnection;

/// Puts the adapters of GNOME's Wayland session over those of X11, which stay in use while our
/// extension of GNOME Shell is not there. Main thread.
class GnomePlatform {
 public:
  /// Whether the session is GNOME's.
  static bool isOf(const Bundle& bundle);
  /// `platform`, which must outlive this, has its other adapters. Null when this is no such
  /// session.
  static std::unique_ptr<GnomePlatform> create(Platform& platform);
  ~GnomePlatform();

  void addOnTop();

 private:
  GnomePlatform(Platform& platform, std::shared_ptr<GnomeShell> shell,
                std::shared_ptr<WaylandMainConnection> connection);

  void addPoster();

  Platform& platform_;
  const std::shared_ptr<GnomeShell> shell_;
  const std::shared_ptr<WaylandMainConnection> connection_;
  const std::unique_ptr<GnomeClipboardBridge> bridge_;
};

}  // namespace stowboard
