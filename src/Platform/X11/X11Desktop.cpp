#include "Platform/X11/X11Desktop.h"

#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace stowboard {

namespace {

constexpr std::string_view activeWindow = "_NET_ACTIVE_WINDOW";
constexpr std::string_view managerCheck = "_NET_SUPPORTING_WM_CHECK";
constexpr std::string_view currentDesktop = "_NET_CURRENT_DESKTOP";

std::string hostName() {
  std::array<char, 256> name{};
  gethostname(name.data(), name.size() - 1);
  return name.data();
}

// Some programs give the host with its domain, some without.
bool isSameHost(std::string_view left, std::string_view right) {
  if (left.size() > right.size()) std::swap(left, right);
  return !left.empty() && right.starts_with(left) &&
         (right.size() == left.size() || right[left.size()] == '.');
}

// The XResource extension from 1.2 on.
bool tellsProcesses(xcb_connection_t* connection) {
  if (findExtension(connection, xcb_res_id) == nullptr) return false;
  const auto version =
      awaitReply(xcb_res_query_version_reply, connection, xcb_res_query_version(connection, 1, 2));
  return version && (version->server_major > 1 || version->server_minor >= 2);
}

// Instance and class, each with a NUL behind it.
void readClasses(const std::string& classes, WindowTraits& traits) {
  traits.wmClassInstance = classes.c_str();
  const auto start = std::min(traits.wmClassInstance.size() + 1, classes.size());
  traits.wmClass = classes.c_str() + start;
}

}  // namespace

X11Desktop::X11Desktop(X11Connection& connection, const ApplicationIdentifying& applications)
    : connection_(connection),
      applications_(applications),
      host_(hostName()),
      tellsProcesses_(tellsProcesses(xcb())),
      clock_(connection.createWindow(XCB_EVENT_MASK_PROPERTY_CHANGE)) {}

void X11Desktop::select(xcb_window_t window, std::uint32_t events) const {
  xcb_change_window_attributes(xcb(), window, XCB_CW_EVENT_MASK, &events);
  xcb_flush(xcb());
}

void X11Desktop::followFront() const { connection_.selectOnRoot(XCB_EVENT_MASK_PROPERTY_CHANGE); }

std::optional<RunningApplication> X11Desktop::frontmost() const {
  const auto askedManager = ask(connection_.root(), managerCheck);
  const auto askedActive = ask(connection_.root(), activeWindow);
  const auto manager = number(askedManager);
  const auto window = number(askedActive);
  if (manager == XCB_NONE || window == XCB_NONE) return std::nullopt;

  // What a window manager left behind when it died names a window that is gone, or is another's
  // by now (EWMH, _NET_SUPPORTING_WM_CHECK).
  const auto askedAgain = ask(manager, managerCheck);
  auto application = applicationOf(window);
  return number(askedAgain) == manager ? std::move(application) : std::nullopt;
}

bool X11Desktop::movesTheFront(const xcb_generic_event_t& event) const {
  const auto* change = eventAs<xcb_property_notify_event_t>(event, XCB_PROPERTY_NOTIFY);
  return change && (change->atom == connection_.atom(activeWindow) ||
                    change->atom == connection_.atom(managerCheck));
}

xcb_get_property_cookie_t X11Desktop::ask(xcb_window_t window, xcb_atom_t property) const {
  constexpr std::uint32_t longest = 1024;
  return xcb_get_property(xcb(), 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, longest);
}

xcb_get_property_cookie_t X11Desktop::ask(xcb_window_t window, std::string_view property) const {
  return ask(window, connection_.atom(property));
}

// Absent when the window is gone; empty when it has no such property.
std::optional<std::string> X11Desktop::content(xcb_get_property_cookie_t asked) const {
  const auto reply = awaitReply(xcb_get_property_reply, xcb(), asked);
  if (!reply) return std::nullopt;
  const auto* value = static_cast<const char*>(xcb_get_property_value(reply.get()));
  return std::string(value, static_cast<std::size_t>(xcb_get_property_value_length(reply.get())));
}

// The first string of several.
std::string X11Desktop::text(xcb_get_property_cookie_t asked) const {
  return content(asked).value_or("").c_str();
}

std::uint32_t X11Desktop::number(xcb_get_property_cookie_t asked, std::uint32_t absent) const {
  const std::string bytes = content(asked).value_or("");
  std::uint32_t value = absent;
  if (bytes.size() >= sizeof value) std::memcpy(&value, bytes.data(), sizeof value);
  return value;
}

xcb_res_query_client_ids_cookie_t X11Desktop::askProcess(xcb_window_t window) const {
  const xcb_res_client_id_spec_t wanted{window, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
  return tellsProcesses_ ? xcb_res_query_client_ids(xcb(), 1, &wanted)
                         : xcb_res_query_client_ids_cookie_t{};
}

std::uint32_t X11Desktop::processOfConnection(xcb_res_query_client_ids_cookie_t asked) const {
  if (!tellsProcesses_) return 0;
  const auto reply = awaitReply(xcb_res_query_client_ids_reply, xcb(), asked);
  if (!reply) return 0;
  const auto first = xcb_res_query_client_ids_ids_iterator(reply.get());
  if (first.rem == 0 || xcb_res_client_id_value_value_length(first.data) < 1) return 0;
  return *xcb_res_client_id_value_value(first.data);
}

// The server's word comes first: a sandboxed program knows its number inside the sandbox only.
// For a program of another machine it names the one that carries the connection.
std::int64_t X11Desktop::localProcess(const std::string& machine, std::uint32_t ofConnection,
                                      std::uint32_t ofWindow) const {
  if (isSameHost(machine, host_)) return ofConnection != 0 ? ofConnection : ofWindow;
  return machine.empty() ? ofConnection : 0;
}

// All questions are on their way before the first answer is waited for. Absent when the window
// is gone.
std::optional<RunningApplication> X11Desktop::applicationOf(xcb_window_t window) const {
  const auto askedClass = ask(window, XCB_ATOM_WM_CLASS);
  const auto askedMachine = ask(window, XCB_ATOM_WM_CLIENT_MACHINE);
  const auto askedProcess = ask(window, "_NET_WM_PID");
  const auto askedFile = ask(window, "_KDE_NET_WM_DESKTOP_FILE");
  const auto askedGtkId = ask(window, "_GTK_APPLICATION_ID");
  const auto askedConnection = askProcess(window);

  const auto classes = content(askedClass);
  const std::string machine = text(askedMachine);
  const auto ofWindow = number(askedProcess);
  WindowTraits traits;
  traits.desktopFile = text(askedFile);
  traits.gtkApplicationId = text(askedGtkId);
  traits.processIdentifier = localProcess(machine, processOfConnection(askedConnection), ofWindow);
  if (!classes) return std::nullopt;
  readClasses(*classes, traits);
  return RunningApplication{applications_.applicationId(traits), traits.processIdentifier, window};
}

std::string X11Desktop::windowClass(xcb_window_t window) const {
  WindowTraits traits;
  readClasses(content(ask(window, XCB_ATOM_WM_CLASS)).value_or(""), traits);
  return traits.wmClass;
}

bool X11Desktop::exists(xcb_window_t window) const {
  return content(ask(window, XCB_ATOM_WM_CLASS)).has_value();
}

xcb_window_t X11Desktop::parentOf(xcb_window_t window) const {
  const auto tree = awaitReply(xcb_query_tree_reply, xcb(), xcb_query_tree(xcb(), window));
  return tree ? tree->parent : xcb_window_t{XCB_NONE};
}

bool X11Desktop::hasInputFocus(xcb_window_t window) const {
  const auto focus = awaitReply(xcb_get_input_focus_reply, xcb(), xcb_get_input_focus(xcb()));
  if (!focus) return false;
  auto each = focus->focus;
  while (each != window && each > XCB_INPUT_FOCUS_POINTER_ROOT) each = parentOf(each);
  return each == window;
}

void X11Desktop::followFocus(xcb_window_t window) const {
  select(window, XCB_EVENT_MASK_FOCUS_CHANGE);
}

void X11Desktop::askServerTime() const {
  const auto property = connection_.atom("_STOWBOARD_SERVER_TIME");
  // Appending nothing is a change as well (ICCCM 2.1).
  xcb_change_property(xcb(), XCB_PROP_MODE_APPEND, clock_, property, XCB_ATOM_INTEGER, 32, 0,
                      nullptr);
  xcb_flush(xcb());
}

std::optional<xcb_timestamp_t> X11Desktop::serverTime(const xcb_generic_event_t& event) const {
  const auto* change = eventAs<xcb_property_notify_event_t>(event, XCB_PROPERTY_NOTIFY);
  return change && change->window == clock_ ? std::optional(change->time) : std::nullopt;
}

void X11Desktop::requestActivation(xcb_window_t window, xcb_timestamp_t time) const {
  constexpr std::uint32_t pager = 2;
  goToDesktopOf(window, time);
  tellManager(window, activeWindow, {pager, time});
  xcb_flush(xcb());
}

// Some window managers, such as openbox, leave that to the pager.
void X11Desktop::goToDesktopOf(xcb_window_t window, xcb_timestamp_t time) const {
  constexpr std::uint32_t all = 0xFFFFFFFF;
  const auto askedDesktop = ask(window, "_NET_WM_DESKTOP");
  const auto askedCurrent = ask(connection_.root(), currentDesktop);
  const auto desktop = number(askedDesktop, all);
  const auto current = number(askedCurrent, desktop);
  if (desktop != all && desktop != current) {
    tellManager(connection_.root(), currentDesktop, {desktop, time});
  }
}

void X11Desktop::tellManager(xcb_window_t window, std::string_view type,
                             const std::array<std::uint32_t, 2>& values) const {
  xcb_client_message_event_t message{};
  message.response_type = XCB_CLIENT_MESSAGE;
  message.format = 32;
  message.window = window;
  message.type = connection_.atom(type);
  std::ranges::copy(values, message.data.data32);
  xcb_send_event(xcb(), 0, connection_.root(),
                 XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                 reinterpret_cast<const char*>(&message));
}

}  // namespace stowboard
