#pragma once

#include <xcb/res.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/ApplicationIdentifying.h"
#include "Platform/Workspace.h"
#include "Platform/X11/X11Connection.h"

namespace stowboard {

/// What the X server and the window manager tell of the windows on the desktop, asked anew each
/// time. On the thread of its connection.
class X11Desktop {
 public:
  /// Both must outlive the desktop.
  X11Desktop(X11Connection& connection, const ApplicationIdentifying& applications);

  /// Has the server send the events that movesTheFront() knows.
  void followFront() const;
  bool movesTheFront(const xcb_generic_event_t& event) const;

  /// The application of the active window (_NET_ACTIVE_WINDOW). Absent when there is none, or no
  /// window manager that follows EWMH.
  std::optional<RunningApplication> frontmost() const;
  /// The application that the window belongs to, which may be one that is never shown. Absent when
  /// it is gone.
  std::optional<RunningApplication> applicationOf(xcb_window_t window) const;

  /// The class of WM_CLASS; empty when the window has none or is gone.
  std::string windowClass(xcb_window_t window) const;
  bool exists(xcb_window_t window) const;
  /// Has the server send an event whenever the focus comes to the window or to one inside it.
  void followFocus(xcb_window_t window) const;
  /// Whether key events go to the window or to one inside it.
  bool hasInputFocus(xcb_window_t window) const;

  /// Makes the server tell its time: serverTime() knows the event and gives the time.
  void askServerTime() const;
  std::optional<xcb_timestamp_t> serverTime(const xcb_generic_event_t& event) const;
  /// Asks the window manager to bring the window to the front, as a pager does on the user's
  /// behalf: on its desktop and out of its icon (EWMH, _NET_ACTIVE_WINDOW).
  void requestActivation(xcb_window_t window, xcb_timestamp_t time) const;

 private:
  xcb_connection_t* xcb() const { return connection_.xcb(); }
  void select(xcb_window_t window, std::uint32_t events) const;
  xcb_get_property_cookie_t ask(xcb_window_t window, xcb_atom_t property) const;
  xcb_get_property_cookie_t ask(xcb_window_t window, std::string_view property) const;
  std::optional<std::string> content(xcb_get_property_cookie_t asked) const;
  std::string text(xcb_get_property_cookie_t asked) const;
  std::uint32_t number(xcb_get_property_cookie_t asked, std::uint32_t absent = 0) const;
  xcb_res_query_client_ids_cookie_t askProcess(xcb_window_t window) const;
  std::uint32_t processOfConnection(xcb_res_query_client_ids_cookie_t asked) const;
  std::int64_t localProcess(const std::string& machine, std::uint32_t ofConnection,
                            std::uint32_t ofWindow) const;
  xcb_window_t parentOf(xcb_window_t window) const;
  void goToDesktopOf(xcb_window_t window, xcb_timestamp_t time) const;
  void tellManager(xcb_window_t window, std::string_view type,
                   const std::array<std::uint32_t, 2>& values) const;

  X11Connection& connection_;
  const ApplicationIdentifying& applications_;
  const std::string host_;
  const bool tellsProcesses_;
  /// Never shown; its property changes carry the server's time.
  const xcb_window_t clock_;
};

}  // namespace stowboard
