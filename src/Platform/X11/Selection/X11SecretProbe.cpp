#include "Platform/X11/Selection/X11SecretProbe.h"

#include <poll.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Platform/Clipboard/TargetPolicy.h"

namespace stowboard {

std::unique_ptr<X11SecretProbe> X11SecretProbe::open() {
  auto connection = X11Connection::open("");
  if (!connection) return nullptr;
  return std::unique_ptr<X11SecretProbe>(new X11SecretProbe(std::move(connection)));
}

X11SecretProbe::X11SecretProbe(std::unique_ptr<X11Connection> connection)
    : connection_(std::move(connection)),
      clipboard_(connection_->atom("CLIPBOARD")),
      targets_(connection_->atom("TARGETS")),
      window_(connection_->createWindow(XCB_EVENT_MASK_NO_EVENT)) {}

bool X11SecretProbe::isSecret() {
  auto* const xcb = connection_->xcb();
  const auto owner =
      awaitReply(xcb_get_selection_owner_reply, xcb, xcb_get_selection_owner(xcb, clipboard_));
  if (!owner || !isOfX11Program(owner->owner)) return false;
  while (connection_->nextEvent()) {
  }
  // The property has the target's name.
  xcb_convert_selection(xcb, window_, clipboard_, targets_, targets_, XCB_CURRENT_TIME);
  xcb_flush(xcb);
  if (!awaitAnswer()) return false;
  std::vector<xcb_atom_t> atoms;
  connection_->takeProperty(window_, targets_, [&](PropertyKind, std::string_view bytes) {
    const auto* const first = reinterpret_cast<const xcb_atom_t*>(bytes.data());
    atoms.insert(atoms.end(), first, first + bytes.size() / sizeof(xcb_atom_t));
    return true;
  });
  return planForTargets(connection_->atomNames(atoms)).isSecret;
}

// Those of the compositor come from the same client as the window that stands for the window
// manager (EWMH, _NET_SUPPORTING_WM_CHECK).
bool X11SecretProbe::isOfX11Program(xcb_window_t owner) {
  auto* const xcb = connection_->xcb();
  if (owner == XCB_NONE) return false;
  const auto property =
      xcb_get_property(xcb, 0, connection_->root(), connection_->atom("_NET_SUPPORTING_WM_CHECK"),
                       XCB_ATOM_WINDOW, 0, 1);
  const auto manager = awaitReply(xcb_get_property_reply, xcb, property);
  if (!manager || xcb_get_property_value_length(manager.get()) < 4) return true;
  const auto window = *static_cast<const xcb_window_t*>(xcb_get_property_value(manager.get()));
  const auto client = ~xcb_get_setup(xcb)->resource_id_mask;
  return (owner & client) != (window & client);
}

bool X11SecretProbe::awaitAnswer() {
  using std::chrono::milliseconds;
  const auto end = std::chrono::steady_clock::now() + longestWait;
  while (!connection_->isBroken()) {
    while (const auto event = connection_->nextEvent()) {
      const auto* const answer =
          eventAs<xcb_selection_notify_event_t>(*event, XCB_SELECTION_NOTIFY);
      if (answer) return answer->property != XCB_NONE;
    }
    const auto left = std::chrono::ceil<milliseconds>(end - std::chrono::steady_clock::now());
    if (left <= milliseconds::zero()) return false;
    pollfd waiting{connection_->fileDescriptor(), POLLIN, 0};
    poll(&waiting, 1, static_cast<int>(left.count()));
  }
  return false;
}

}  // namespace stowboard
