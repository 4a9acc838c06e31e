#include "Platform/X11/Windows/X11Compositing.h"

#include <xcb/xfixes.h>

#include <QObject>
#include <QSocketNotifier>
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

/// Follows the selection's owner.
class X11Compositing::Events {
 public:
  explicit Events(const X11Compositing& compositing)
      : compositing_(compositing),
        notifier_(compositing.connection_->fileDescriptor(), QSocketNotifier::Read) {
    constexpr std::uint32_t changes = XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                                      XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                                      XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE;
    const auto& connection = *compositing.connection_;
    xcb_xfixes_select_selection_input(connection.xcb(), connection.root(), compositing.selection_,
                                      changes);
    xcb_flush(connection.xcb());
    QObject::connect(&notifier_, &QSocketNotifier::activated, [this] { handleNew(); });
  }

 private:
  // No other events are asked for. One that waiting for an answer took off the socket is older than
  // that answer, and so tells nothing new.
  void handleNew() {
    bool hasChanged = false;
    while (compositing_.connection_->nextEvent()) hasChanged = true;
    notifier_.setEnabled(!compositing_.connection_->isBroken());
    // A copy, because the callee may replace it.
    if (const auto callback = compositing_.onDidChange; hasChanged && callback) callback();
  }

  const X11Compositing& compositing_;
  QSocketNotifier notifier_;
};

std::unique_ptr<X11Compositing> X11Compositing::create(const std::string& display) {
  auto connection = X11Connection::open(display);
  if (!connection) return nullptr;
  return std::unique_ptr<X11Compositing>(new X11Compositing(std::move(connection)));
}

X11Compositing::X11Compositing(std::unique_ptr<X11Connection> connection)
    : connection_(std::move(connection)),
      selection_(connection_->atom(selectionName(*connection_))),
      events_(std::make_unique<Events>(*this)) {}

X11Compositing::~X11Compositing() = default;

bool X11Compositing::isRunning() const {
  auto* const xcb = connection_->xcb();
  const XcbPointer<xcb_get_selection_owner_reply_t> reply(
      xcb_get_selection_owner_reply(xcb, xcb_get_selection_owner(xcb, selection_), nullptr));
  return reply && reply->owner != XCB_NONE;
}

}  // namespace stowboard
