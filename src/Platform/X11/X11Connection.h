#pragma once

#include <xcb/xcb.h>

#include <chrono>
#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace stowboard {

struct XcbFree {
  void operator()(void* memory) const { std::free(memory); }
};
/// A reply or event as xcb hands it out.
template <typename Message>
using XcbPointer = std::unique_ptr<Message, XcbFree>;

/// Waits for the reply to a request; null when there is none, as for a window that is gone. An
/// error that is not taken here would come back as an event.
template <typename Reply, typename Cookie>
XcbPointer<Reply> awaitReply(Reply* (*wait)(xcb_connection_t*, Cookie, xcb_generic_error_t**),
                             xcb_connection_t* connection, Cookie asked) {
  xcb_generic_error_t* error = nullptr;
  XcbPointer<Reply> reply(wait(connection, asked, &error));
  const XcbPointer<xcb_generic_error_t> ignored(error);
  return reply;
}

/// The event as one of that type, whether the server or another program sent it; null when it is of
/// another type.
template <typename Event>
const Event* eventAs(const xcb_generic_event_t& event, int type) {
  return (event.response_type & 0x7f) == type ? reinterpret_cast<const Event*>(&event) : nullptr;
}

/// What the server tells of an extension; null when it has none of that kind.
const xcb_query_extension_reply_t* findExtension(xcb_connection_t* connection,
                                                 xcb_extension_t& extension);
xcb_atom_t internAtom(xcb_connection_t* connection, std::string_view name);

/// What a property holds apart from its content. `format` is 8, 16 or 32 bits an element.
struct PropertyKind {
  xcb_atom_t type = XCB_ATOM_NONE;
  int format = 0;
};

/// A connection of our own to the X server, with the atoms known so far. One thread at a time.
class X11Connection {
 public:
  /// Connects to `display`, or to $DISPLAY when that is empty. Null when the server cannot be
  /// reached or has no XFixes 1 or later.
  static std::unique_ptr<X11Connection> open(const std::string& display);

  xcb_connection_t* xcb() const { return connection_.get(); }
  xcb_window_t root() const { return root_; }
  /// The number of the first event of XFixes.
  int xfixesEventBase() const { return xfixesEventBase_; }
  int fileDescriptor() const { return xcb_get_file_descriptor(xcb()); }
  bool isBroken() const { return xcb_connection_has_error(xcb()) != 0; }

  /// The next event, without waiting; null when there is none.
  XcbPointer<xcb_generic_event_t> nextEvent() const {
    return XcbPointer<xcb_generic_event_t>(xcb_poll_for_event(xcb()));
  }

  /// Waits until the server has sent an event, and takes all that there are. False when none came
  /// by `end`, or the connection broke.
  bool awaitEvents(std::chrono::steady_clock::time_point end) const;

  xcb_atom_t atom(std::string_view name);
  /// The names of the atoms in their order; atoms that the server does not know are left out.
  std::vector<std::string> atomNames(const std::vector<xcb_atom_t>& atoms);

  /// Has the root window's events sent, besides those asked for before.
  void selectOnRoot(std::uint32_t events);

  /// A window that is never shown.
  xcb_window_t createWindow(std::uint32_t eventMask) const;
  void destroyWindow(xcb_window_t window) const { xcb_destroy_window(xcb(), window); }

  /// Reads a property of any size in pieces and deletes it after the last one. `receive` is given
  /// the pieces with their kind and may return false to stop, which deletes the property as well.
  /// Absent when there is no such property, or when it changed meanwhile.
  std::optional<PropertyKind> takeProperty(
      xcb_window_t window, xcb_atom_t property,
      const std::function<bool(PropertyKind, std::string_view)>& receive) const;

 private:
  struct Disconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
  };

  X11Connection(xcb_connection_t* connection, int screen);
  bool startXfixes();
  void learnName(xcb_atom_t atom, const std::string& name);

  std::unique_ptr<xcb_connection_t, Disconnect> connection_;
  xcb_window_t root_ = XCB_NONE;
  std::uint32_t rootEvents_ = 0;
  int xfixesEventBase_ = 0;
  std::map<std::string, xcb_atom_t, std::less<>> atoms_;
  std::map<xcb_atom_t, std::string> names_;
};

}  // namespace stowboard
