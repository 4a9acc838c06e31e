#include "Platform/X11/Windows/X11Compositing.h"

#include <xcb/xfixes.h>

#include <string>
#include <utility>

namespace stowboard {

namespace {

std::string selectionName(const X11Connection& connection) {
  int number = 0;
  auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection.xcb()));
  for (; screens.rem > 1 && screens.data->root != connection.root(); ++number) {
    xcb_screen_next(&screens);
  }
  return "_NET_WM_CM_S" + std::to_string(number);
}

void followOwner(const X11Connection& connection, xcb_atom_t selection) {
  constexpr std::uint32_t changes = XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                                    XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                                    XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE;
  xcb_xfixes_select_selection_input(connection.xcb(), connection.root(), selection, changes);
  xcb_flush(connection.xcb());
}

}  // namespace

X11Compositing::X11Compositing(std::shared_ptr<X11MainConnection> connection)
    : connection_(std::move(connection)),
      selection_(connection_->connection().atom(selectionName(connection_->connection()))),
      subscription_(connection_->subscribe(
          {[this](const xcb_generic_event_t& event) { return isOwnerChange(event); },
           [this] {
             // A copy, because the callee may replace it.
             if (const auto callback = onDidChange) callback();
           }})) {
  followOwner(connection_->connection(), selection_);
}

bool X11Compositing::isOwnerChange(const xcb_generic_event_t& event) const {
  const auto* change = eventAs<xcb_xfixes_selection_notify_event_t>(
      event, connection_->connection().xfixesEventBase() + XCB_XFIXES_SELECTION_NOTIFY);
  return change && change->selection == selection_;
}

bool X11Compositing::isRunning() const {
  auto* const xcb = connection_->xcb();
  const auto reply =
      awaitReply(xcb_get_selection_owner_reply, xcb, xcb_get_selection_owner(xcb, selection_));
  return reply && reply->owner != XCB_NONE;
}

}  // namespace stowboard
