#include "Platform/X11/X11Connection.h"

#include <poll.h>
#include <xcb/xfixes.h>

#include <utility>

namespace stowboard {

namespace {

// One piece of a property, in the protocol's 4-byte units.
constexpr std::uint32_t pieceUnits = 1024 * 1024 / 4;

xcb_screen_t* screenNumber(xcb_connection_t* connection, int number) {
  auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
  for (; screens.rem > 1 && number > 0; --number) xcb_screen_next(&screens);
  return screens.data;
}

}  // namespace

const xcb_query_extension_reply_t* findExtension(xcb_connection_t* connection,
                                                 xcb_extension_t& extension) {
  const auto* found = xcb_get_extension_data(connection, &extension);
  return found != nullptr && found->present != 0 ? found : nullptr;
}

xcb_atom_t internAtom(xcb_connection_t* connection, std::string_view name) {
  const auto length = static_cast<std::uint16_t>(name.size());
  const auto reply = awaitReply(xcb_intern_atom_reply, connection,
                                xcb_intern_atom(connection, 0, length, name.data()));
  return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

std::unique_ptr<X11Connection> X11Connection::open(const std::string& display) {
  int screen = 0;
  auto* raw = xcb_connect(display.empty() ? nullptr : display.c_str(), &screen);
  std::unique_ptr<X11Connection> connection(new X11Connection(raw, screen));
  if (connection->isBroken() || !connection->startXfixes()) return nullptr;
  return connection;
}

X11Connection::X11Connection(xcb_connection_t* connection, int screen) : connection_(connection) {
  if (!isBroken()) root_ = screenNumber(connection, screen)->root;
}

bool X11Connection::startXfixes() {
  const auto* extension = findExtension(xcb(), xcb_xfixes_id);
  if (extension == nullptr) return false;
  xfixesEventBase_ = extension->first_event;
  // The server takes no other XFixes request before this one.
  const auto version =
      awaitReply(xcb_xfixes_query_version_reply, xcb(), xcb_xfixes_query_version(xcb(), 1, 0));
  return version != nullptr && version->major_version >= 1;
}

bool X11Connection::awaitEvents(std::chrono::steady_clock::time_point end) const {
  using std::chrono::milliseconds;
  xcb_flush(xcb());
  while (!isBroken()) {
    // Waiting for replies may have taken events off the socket, which is silent about them.
    bool hasCome = false;
    while (nextEvent()) hasCome = true;
    const auto left = std::chrono::ceil<milliseconds>(end - std::chrono::steady_clock::now());
    if (left <= milliseconds::zero()) return false;
    if (hasCome) return true;
    pollfd waiting{fileDescriptor(), POLLIN, 0};
    poll(&waiting, 1, static_cast<int>(left.count()));
  }
  return false;
}

void X11Connection::learnName(xcb_atom_t atom, const std::string& name) {
  atoms_.emplace(name, atom);
  names_.emplace(atom, name);
}

xcb_atom_t X11Connection::atom(std::string_view name) {
  if (const auto known = atoms_.find(name); known != atoms_.end()) return known->second;
  const auto atom = internAtom(xcb(), name);
  if (atom != XCB_ATOM_NONE) learnName(atom, std::string(name));
  return atom;
}

std::vector<std::string> X11Connection::atomNames(const std::vector<xcb_atom_t>& atoms) {
  std::vector<std::pair<xcb_atom_t, xcb_get_atom_name_cookie_t>> asked;
  for (const auto atom : atoms) {
    if (!names_.contains(atom)) asked.emplace_back(atom, xcb_get_atom_name(xcb(), atom));
  }
  for (const auto& [atom, cookie] : asked) {
    const auto reply = awaitReply(xcb_get_atom_name_reply, xcb(), cookie);
    if (!reply) continue;
    const auto length = static_cast<std::size_t>(xcb_get_atom_name_name_length(reply.get()));
    learnName(atom, std::string(xcb_get_atom_name_name(reply.get()), length));
  }
  std::vector<std::string> names;
  for (const auto atom : atoms) {
    if (const auto known = names_.find(atom); known != names_.end()) names.push_back(known->second);
  }
  return names;
}

void X11Connection::selectOnRoot(std::uint32_t events) {
  rootEvents_ |= events;
  xcb_change_window_attributes(xcb(), root(), XCB_CW_EVENT_MASK, &rootEvents_);
}

xcb_window_t X11Connection::createWindow(std::uint32_t eventMask) const {
  const auto window = xcb_generate_id(xcb());
  xcb_create_window(xcb(), 0, window, root_, -10, -10, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                    XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &eventMask);
  return window;
}

std::optional<PropertyKind> X11Connection::takeProperty(
    xcb_window_t window, xcb_atom_t property,
    const std::function<bool(PropertyKind, std::string_view)>& receive) const {
  for (std::uint32_t offset = 0;;) {
    const auto asked =
        xcb_get_property(xcb(), 1, window, property, XCB_GET_PROPERTY_TYPE_ANY, offset, pieceUnits);
    const auto reply = awaitReply(xcb_get_property_reply, xcb(), asked);
    if (!reply || reply->type == XCB_ATOM_NONE) return std::nullopt;

    const PropertyKind kind{reply->type, reply->format};
    const auto length = static_cast<std::size_t>(xcb_get_property_value_length(reply.get()));
    const auto* value = static_cast<const char*>(xcb_get_property_value(reply.get()));
    const bool goesOn = receive(kind, {value, length});
    if (reply->bytes_after == 0) return kind;
    if (!goesOn) {
      xcb_delete_property(xcb(), window, property);
      return kind;
    }
    offset += static_cast<std::uint32_t>(length / 4);
  }
}

}  // namespace stowboard
