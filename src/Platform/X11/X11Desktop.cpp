#include "Platform/X11/X11Desktop.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>
#include <utility>

namespace stowboard {

namespace {

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

// Instance and class, each with a NUL behind it.
void readClasses(const std::string& classes, WindowTraits& traits) {
  traits.wmClassInstance = classes.c_str();
  const auto start = std::min(traits.wmClassInstance.size() + 1, classes.size());
  traits.wmClass = classes.c_str() + start;
}

}  // namespace

std::unique_ptr<X11Desktop> X11Desktop::open(const ApplicationIdentifying& applications,
                                             const std::string& display) {
  auto connection = X11Connection::open(display);
  if (!connection) return nullptr;
  return std::unique_ptr<X11Desktop>(new X11Desktop(std::move(connection), applications));
}

X11Desktop::Atoms::Atoms(X11Connection& connection)
    : managerCheck(connection.atom("_NET_SUPPORTING_WM_CHECK")),
      activeWindow(connection.atom("_NET_ACTIVE_WINDOW")),
      currentDesktop(connection.atom("_NET_CURRENT_DESKTOP")),
      windowDesktop(connection.atom("_NET_WM_DESKTOP")),
      desktopFile(connection.atom("_KDE_NET_WM_DESKTOP_FILE")),
      gtkApplicationId(connection.atom("_GTK_APPLICATION_ID")),
      processIdentifier(connection.atom("_NET_WM_PID")),
      serverTime(connection.atom("_STOWBOARD_SERVER_TIME")) {}

X11Desktop::X11Desktop(std::unique_ptr<X11Connection> connection,
                       const ApplicationIdentifying& applications)
    : connection_(std::move(connection)),
      applications_(applications),
      host_(hostName()),
      atoms_(*connection_),
      tellsProcesses_(queryResources()),
      clock_(connection_->createWindow(XCB_EVENT_MASK_PROPERTY_CHANGE)) {}

void X11Desktop::followFront() {
  const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
  xcb_change_window_attributes(xcb(), connection_->root(), XCB_CW_EVENT_MASK, &mask);
  xcb_flush(xcb());
}

std::optional<RunningApplication> X11Desktop::frontmost() const {
  const auto askedManager = ask(connection_->root(), atoms_.managerCheck);
  const auto askedActive = ask(connection_->root(), atoms_.activeWindow);
  const auto manager = number(askedManager);
  const auto window = number(askedActive);
  if (manager == XCB_NONE || window == XCB_NONE) return std::nullopt;

  // What a window manager left behind when it died names a window that is gone, or is another's
  // by now (EWMH, _NET_SUPPORTING_WM_CHECK).
  const auto askedAgain = ask(manager, atoms_.managerCheck);
  auto application = identify(window);
  return number(askedAgain) == manager ? std::move(application) : std::nullopt;
}

bool X11Desktop::movesTheFront(const xcb_generic_event_t& event) const {
  if ((event.response_type & 0x7f) != XCB_PROPERTY_NOTIFY) return false;
  const auto& change = reinterpret_cast<const xcb_property_notify_event_t&>(event);
  return change.atom == atoms_.activeWindow || change.atom == atoms_.managerCheck;
}

bool X11Desktop::queryResources() const {
  const auto* extension = xcb_get_extension_data(xcb(), &xcb_res_id);
  if (!extension || !extension->present) return false;
  const XcbPointer<xcb_res_query_version_reply_t> version(
      xcb_res_query_version_reply(xcb(), xcb_res_query_version(xcb(), 1, 2), nullptr));
  return version && (version->server_major > 1 || version->server_minor >= 2);
}

xcb_get_property_cookie_t X11Desktop::ask(xcb_window_t window, xcb_atom_t property) const {
  constexpr std::uint32_t longest = 1024;
  return xcb_get_property(xcb(), 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, longest);
}

// Absent when the window is gone; empty when it has no such property.
std::optional<std::string> X11Desktop::content(xcb_get_property_cookie_t asked) const {
  xcb_generic_error_t* error = nullptr;
  const XcbPointer<xcb_get_property_reply_t> reply(xcb_get_property_reply(xcb(), asked, &error));
  const XcbPointer<xcb_generic_error_t> windowIsGone(error);
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
  xcb_generic_error_t* error = nullptr;
  const XcbPointer<xcb_res_query_client_ids_reply_t> reply(
      xcb_res_query_client_ids_reply(xcb(), asked, &error));
  const XcbPointer<xcb_generic_error_t> windowIsGone(error);
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
std::optional<RunningApplication> X11Desktop::identify(xcb_window_t window) const {
  const auto askedClass = ask(window, XCB_ATOM_WM_CLASS);
  const auto askedMachine = ask(window, XCB_ATOM_WM_CLIENT_MACHINE);
  const auto askedProcess = ask(window, atoms_.processIdentifier);
  const auto askedFile = ask(window, atoms_.desktopFile);
  const auto askedGtkId = ask(window, atoms_.gtkApplicationId);
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
  xcb_generic_error_t* error = nullptr;
  const XcbPointer<xcb_query_tree_reply_t> tree(
      xcb_query_tree_reply(xcb(), xcb_query_tree(xcb(), window), &error));
  const XcbPointer<xcb_generic_error_t> windowIsGone(error);
  return tree ? tree->parent : xcb_window_t{XCB_NONE};
}

bool X11Desktop::hasInputFocus(xcb_window_t window) const {
  const XcbPointer<xcb_get_input_focus_reply_t> focus(
      xcb_get_input_focus_reply(xcb(), xcb_get_input_focus(xcb()), nullptr));
  if (!focus) return false;
  auto each = focus->focus;
  while (each != window && each > XCB_INPUT_FOCUS_POINTER_ROOT) each = parentOf(each);
  return each == window;
}

void X11Desktop::askServerTime() {
  // Appending nothing is a change as well (ICCCM 2.1).
  xcb_change_property(xcb(), XCB_PROP_MODE_APPEND, clock_, atoms_.serverTime, XCB_ATOM_INTEGER, 32,
                      0, nullptr);
  xcb_flush(xcb());
}

std::optional<xcb_timestamp_t> X11Desktop::serverTime(const xcb_generic_event_t& event) const {
  if ((event.response_type & 0x7f) != XCB_PROPERTY_NOTIFY) return std::nullopt;
  const auto& change = reinterpret_cast<const xcb_property_notify_event_t&>(event);
  return change.window == clock_ ? std::optional(change.time) : std::nullopt;
}

void X11Desktop::requestActivation(xcb_window_t window, xcb_timestamp_t time) {
  constexpr std::uint32_t pager = 2;
  goToDesktopOf(window, time);
  tellManager(window, atoms_.activeWindow, {pager, time});
  xcb_flush(xcb());
}

// Some window managers, such as openbox, leave that to the pager.
void X11Desktop::goToDesktopOf(xcb_window_t window, xcb_timestamp_t time) {
  constexpr std::uint32_t all = 0xFFFFFFFF;
  const auto askedDesktop = ask(window, atoms_.windowDesktop);
  const auto askedCurrent = ask(connection_->root(), atoms_.currentDesktop);
  const auto desktop = number(askedDesktop, all);
  const auto current = number(askedCurrent, desktop);
  if (desktop != all && desktop != current) {
    tellManager(connection_->root(), atoms_.currentDesktop, {desktop, time});
  }
}

void X11Desktop::tellManager(xcb_window_t window, xcb_atom_t type,
                             const std::array<std::uint32_t, 2>& values) {
  xcb_client_message_event_t message{};
  message.response_type = XCB_CLIENT_MESSAGE;
  message.format = 32;
  message.window = window;
  message.type = type;
  std::ranges::copy(values, message.data.data32);
  xcb_send_event(xcb(), 0, connection_->root(),
                 XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                 reinterpret_cast<const char*>(&message));
}

}  // namespace stowboard
