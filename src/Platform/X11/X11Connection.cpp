#include "Platform/X11/X11Connection.h"

#include <xcb/xfixes.h>

#include <algorithm>

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
  const auto* extension = xcb_get_extension_data(xcb(), &xcb_xfixes_id);
  if (extension == nullptr || extension->present == 0) return false;
  xfixesEventBase_ = extension->first_event;
  // The server takes no other XFixes request before this one.
  const XcbPointer<xcb_xfixes_query_version_reply_t> version(
      xcb_xfixes_query_version_reply(xcb(), xcb_xfixes_query_version(xcb(), 1, 0), nullptr));
  return version != nullptr && version->major_version >= 1;
}

void X11Connection::learnName(xcb_atom_t atom, const std::string& name) {
  atoms_.emplace(name, atom);
  names_.emplace(atom, name);
}

xcb_atom_t X11Connection::atom(std::string_view name) {
  if (const auto known = atoms_.find(name); known != atoms_.end()) return known->second;
  const auto cookie =
      xcb_intern_atom(xcb(), 0, static_cast<std::uint16_t>(name.size()), name.data());
  const XcbPointer<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(xcb(), cookie, nullptr));
  if (!reply) return XCB_ATOM_NONE;
  learnName(reply->atom, std::string(name));
  return reply->atom;
}

std::vector<std::string> X11Connection::atomNames(const std::vector<xcb_atom_t>& atoms) {
  std::vector<std::pair<xcb_atom_t, xcb_get_atom_name_cookie_t>> asked;
  for (const auto atom : atoms) {
    if (!names_.contains(atom)) asked.emplace_back(atom, xcb_get_atom_name(xcb(), atom));
  }
  for (const auto& [atom, cookie] : asked) {
    // An error would otherwise come back as an event.
    xcb_generic_error_t* error = nullptr;
    const XcbPointer<xcb_get_atom_name_reply_t> reply(
        xcb_get_atom_name_reply(xcb(), cookie, &error));
    const XcbPointer<xcb_generic_error_t> ignored(error);
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
    xcb_generic_error_t* error = nullptr;
    const auto cookie =
        xcb_get_property(xcb(), 1, window, property, XCB_GET_PROPERTY_TYPE_ANY, offset, pieceUnits);
    const XcbPointer<xcb_get_property_reply_t> reply(xcb_get_property_reply(xcb(), cookie, &error));
    const XcbPointer<xcb_generic_error_t> ignored(error);
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
