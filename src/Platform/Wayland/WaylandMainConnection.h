#pragma once

#include <functional>
#include <memory>

#include "Platform/Wayland/WaylandConnection.h"

class QSocketNotifier;

namespace stowboard {

/// The connection that the main thread's adapters share, read when the compositor has something to
/// say: no polling. Main thread, with Qt's event loop.
class WaylandMainConnection {
 public:
  /// Connects to $WAYLAND_DISPLAY. Null when no compositor answers. Waits for its announcements.
  static std::shared_ptr<WaylandMainConnection> open();
  ~WaylandMainConnection();

  WaylandConnection& connection() const { return *connection_; }
  bool isBroken() const { return connection_->isBroken(); }

 private:
  explicit WaylandMainConnection(std::unique_ptr<WaylandConnection> connection);
  void handleEvents();

  const std::unique_ptr<WaylandConnection> connection_;
  const std::unique_ptr<QSocketNotifier> notifier_;
};

}  // namespace stowboard
