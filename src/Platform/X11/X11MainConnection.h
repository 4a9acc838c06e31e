#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Platform/X11/X11Connection.h"

class QSocketNotifier;

namespace stowboard {

/// The connection that the main thread's adapters share, read when the server has something to say:
/// no polling. Requests may be made and replies waited for at any time; the events that come in
/// meanwhile are handled on a later turn of the loop. Main thread, with Qt's event loop.
class X11MainConnection : public std::enable_shared_from_this<X11MainConnection> {
 public:
  /// What an adapter has called.
  struct Listener {
    /// Given every event, whichever adapter asked for it; errors of requests are no events. True
    /// has settle() called once no event is left, or a turn's share of them is handled.
    std::function<bool(const xcb_generic_event_t&)> handle;
    std::function<void()> settle;
    /// The connection broke; called once.
    std::function<void()> lose = [] {};
  };
  /// Nothing is called any more once it is gone. A listener may end any subscription and begin
  /// others.
  using Subscription = std::shared_ptr<void>;

  /// Connects to `display`, or to $DISPLAY when that is empty. Null when the server cannot be
  /// reached or has no XFixes.
  static std::shared_ptr<X11MainConnection> open(const std::string& display = "");
  ~X11MainConnection();

  X11Connection& connection() const { return *connection_; }
  xcb_connection_t* xcb() const { return connection_->xcb(); }
  xcb_window_t root() const { return connection_->root(); }
  bool isBroken() const { return connection_->isBroken(); }
  /// As it was opened.
  const std::string& display() const { return display_; }

  [[nodiscard]] Subscription subscribe(Listener listener);

 private:
  struct Subscriber {
    Listener listener;
    bool isToSettle = false;
  };

  X11MainConnection(std::unique_ptr<X11Connection> connection, const std::string& display);
  void lookForQueued();
  void handleLater();
  void handleEvents();
  bool handleOne();
  bool settle();
  XcbPointer<xcb_generic_event_t> nextEvent();
  void forEachSubscriber(const std::function<void(Subscriber&)>& visit) const;

  const std::unique_ptr<X11Connection> connection_;
  const std::string display_;
  std::vector<std::weak_ptr<Subscriber>> subscribers_;
  /// Found on the way to sleep.
  XcbPointer<xcb_generic_event_t> queued_;
  const std::unique_ptr<QSocketNotifier> notifier_;
};

}  // namespace stowboard
