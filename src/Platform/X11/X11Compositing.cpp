#include "Platform/X11/X11Compositing.h"

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

}  // namespace

std::unique_ptr<X11Compositing> X11Compositing::create(const std::string& display) {
  auto connection = X11Connection::open(display);
  if (!connection) return nullptr;
  return std::unique_ptr<X11Compositing>(new X11Compositing(std::move(connection)));
}

X11Compositing::X11Compositing(std::unique_ptr<X11Connection> connection)
    : connection_(std::move(connection)),
      selection_(connection_->atom(selectionName(*connection_))) {}

bool X11Compositing::isRunning() const {
  auto* const xcb = connection_->xcb();
  const XcbPointer<xcb_get_selection_owner_reply_t> reply(
      xcb_get_selection_owner_reply(xcb, xcb_get_selection_owner(xcb, selection_), nullptr));
  return reply && reply->owner != XCB_NONE;
}

}  // namespace stowboard
