#pragma once

#include <wayland-client.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>

namespace stowboard {

/// Destroys a protocol object; specialised for each kind that is owned by a WaylandObject.
template <typename Object>
struct WaylandDestroy;
template <typename Object>
using WaylandObject = std::unique_ptr<Object, WaylandDestroy<Object>>;

template <>
struct WaylandDestroy<wl_registry> {
  void operator()(wl_registry* registry) const { wl_registry_destroy(registry); }
};
template <>
struct WaylandDestroy<wl_seat> {
  void operator()(wl_seat* seat) const { wl_seat_destroy(seat); }
};

/// A connection to a Wayland compositor, with what it announces. Belongs to one thread, on which
/// everything here is called back, from within dispatch() and roundTrip().
class WaylandConnection {
 public:
  /// Waits for the compositor's announcements. `display` is a socket's name; empty means
  /// $WAYLAND_DISPLAY. Null when no compositor answers.
  static std::unique_ptr<WaylandConnection> open(const std::string& display);
  ~WaylandConnection();
  WaylandConnection(const WaylandConnection&) = delete;
  WaylandConnection& operator=(const WaylandConnection&) = delete;

  /// Binds the first global that has the interface's name, in the version wanted or the highest
  /// below it. Null when there is none; else the caller's, to be destroyed before this. `interface`
  /// must outlive it.
  template <typename Object>
  Object* bind(const wl_interface& interface, std::uint32_t version) const {
    return static_cast<Object*>(bindFirst(interface, version));
  }
  bool offers(const char* interface) const;

  /// The seat whose clipboard and windows count: the first one. Null when there is none.
  wl_seat* seat() const { return seat_.get(); }

  int fileDescriptor() const { return wl_display_get_fd(display_); }
  /// Reads what has come and hands it to the listeners. Does not wait; false when there was
  /// nothing.
  bool dispatch();
  /// Sends what was requested.
  void flush() { wl_display_flush(display_); }
  /// Waits until the compositor has handled everything requested so far.
  void roundTrip() { wl_display_roundtrip(display_); }
  /// Calls `done` when the compositor has handled everything requested so far, unless this is
  /// destroyed first.
  void sync(std::function<void()> done);
  /// The compositor is gone, or has ended the connection.
  bool isBroken() const { return wl_display_get_error(display_) != 0; }

 private:
  struct Global {
    std::string interface;
    std::uint32_t version;
  };

  explicit WaylandConnection(wl_display* display) : display_(display) {}

  void listen();
  void* bindFirst(const wl_interface& interface, std::uint32_t version) const;

  wl_display* const display_;
  WaylandObject<wl_registry> registry_;
  std::map<std::uint32_t, Global> globals_;
  WaylandObject<wl_seat> seat_;
  std::map<wl_callback*, std::function<void()>> syncs_;
};

}  // namespace stowboard
