#include "Platform/X11/X11Workspace.h"

#include <unistd.h>
#include <xcb/res.h>

#include <QObject>
#include <QSocketNotifier>
#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>
#include <utility>

#include "Base/Log.h"
#include "Platform/X11/X11Connection.h"

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

}  // namespace

/// What the X server tells of windows.
class X11Workspace::Desktop {
 public:
  static std::unique_ptr<Desktop> open(const ApplicationIdentifying& applications,
                                       const std::string& display) {
    auto connection = X11Connection::open(display);
    if (!connection) return nullptr;
    return std::make_unique<Desktop>(std::move(connection), applications);
  }

  Desktop(std::unique_ptr<X11Connection> connection, const ApplicationIdentifying& applications)
      : connection_(std::move(connection)),
        applications_(applications),
        host_(hostName()),
        atoms_(*connection_),
        tellsProcesses_(queryResources()) {
    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(xcb(), connection_->root(), XCB_CW_EVENT_MASK, &mask);
    xcb_flush(xcb());
  }

  xcb_connection_t* xcb() const { return connection_->xcb(); }
  X11Connection& connection() const { return *connection_; }

  std::optional<RunningApplication> frontmost() const {
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

  bool movesTheFront(const xcb_generic_event_t& event) const {
    if ((event.response_type & 0x7f) != XCB_PROPERTY_NOTIFY) return false;
    const auto& change = reinterpret_cast<const xcb_property_notify_event_t&>(event);
    return change.atom == atoms_.activeWindow || change.atom == atoms_.managerCheck;
  }

 private:
  struct Atoms {
    explicit Atoms(X11Connection& connection)
        : managerCheck(connection.atom("_NET_SUPPORTING_WM_CHECK")),
          activeWindow(connection.atom("_NET_ACTIVE_WINDOW")),
          desktopFile(connection.atom("_KDE_NET_WM_DESKTOP_FILE")),
          gtkApplicationId(connection.atom("_GTK_APPLICATION_ID")),
          processIdentifier(connection.atom("_NET_WM_PID")) {}

    xcb_atom_t managerCheck;
    xcb_atom_t activeWindow;
    xcb_atom_t desktopFile;
    xcb_atom_t gtkApplicationId;
    xcb_atom_t processIdentifier;
  };

  bool queryResources() const {
    const auto* extension = xcb_get_extension_data(xcb(), &xcb_res_id);
    if (!extension || !extension->present) return false;
    const XcbPointer<xcb_res_query_version_reply_t> version(
        xcb_res_query_version_reply(xcb(), xcb_res_query_version(xcb(), 1, 2), nullptr));
    return version && (version->server_major > 1 || version->server_minor >= 2);
  }

  xcb_get_property_cookie_t ask(xcb_window_t window, xcb_atom_t property) const {
    constexpr std::uint32_t longest = 1024;
    return xcb_get_property(xcb(), 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, longest);
  }

  // Absent when the window is gone; empty when it has no such property.
  std::optional<std::string> content(xcb_get_property_cookie_t asked) const {
    xcb_generic_error_t* error = nullptr;
    const XcbPointer<xcb_get_property_reply_t> reply(xcb_get_property_reply(xcb(), asked, &error));
    const XcbPointer<xcb_generic_error_t> windowIsGone(error);
    if (!reply) return std::nullopt;
    const auto* value = static_cast<const char*>(xcb_get_property_value(reply.get()));
    return std::string(value, static_cast<std::size_t>(xcb_get_property_value_length(reply.get())));
  }

  // The first string of several.
  std::string text(xcb_get_property_cookie_t asked) const {
    return content(asked).value_or("").c_str();
  }

  std::uint32_t number(xcb_get_property_cookie_t asked) const {
    const std::string bytes = content(asked).value_or("");
    std::uint32_t value = 0;
    if (bytes.size() >= sizeof value) std::memcpy(&value, bytes.data(), sizeof value);
    return value;
  }

  xcb_res_query_client_ids_cookie_t askProcess(xcb_window_t window) const {
    const xcb_res_client_id_spec_t wanted{window, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
    return tellsProcesses_ ? xcb_res_query_client_ids(xcb(), 1, &wanted)
                           : xcb_res_query_client_ids_cookie_t{};
  }

  std::uint32_t processOfConnection(xcb_res_query_client_ids_cookie_t asked) const {
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
  std::int64_t localProcess(const std::string& machine, std::uint32_t ofConnection,
                            std::uint32_t ofWindow) const {
    if (isSameHost(machine, host_)) return ofConnection != 0 ? ofConnection : ofWindow;
    return machine.empty() ? ofConnection : 0;
  }

  // All questions are on their way before the first answer is waited for. Absent when the window
  // is gone.
  std::optional<RunningApplication> identify(xcb_window_t window) const {
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
    traits.processIdentifier =
        localProcess(machine, processOfConnection(askedConnection), ofWindow);
    if (!classes) return std::nullopt;
    readClasses(*classes, traits);
    return RunningApplication{applications_.applicationId(traits), traits.processIdentifier,
                              window};
  }

  // Instance and class, each with a NUL behind it.
  static void readClasses(const std::string& classes, WindowTraits& traits) {
    traits.wmClassInstance = classes.c_str();
    const auto start = std::min(traits.wmClassInstance.size() + 1, classes.size());
    traits.wmClass = classes.c_str() + start;
  }

  const std::unique_ptr<X11Connection> connection_;
  const ApplicationIdentifying& applications_;
  const std::string host_;
  const Atoms atoms_;
  const bool tellsProcesses_;
};

/// Calls the workspace's report() on a turn of the main loop after the front may have moved.
class X11Workspace::Events {
 public:
  Events(X11Workspace& workspace, RunLoop& loop)
      : workspace_(workspace),
        loop_(loop),
        notifier_(workspace.desktop_->connection().fileDescriptor(), QSocketNotifier::Read) {
    QObject::connect(&notifier_, &QSocketNotifier::activated, [this] { handleNew(); });
  }

  // Waiting for an answer takes events off the socket, which is then silent about them.
  void handleQueuedLater() {
    if (!takeEvents(xcb_poll_for_queued_event)) return;
    loop_.post([self = std::weak_ptr(self_)] {
      if (const auto events = self.lock()) (*events)->handleNew(true);
    });
  }

 private:
  using Poll = xcb_generic_event_t* (*)(xcb_connection_t*);

  void handleNew(bool frontMoved = false) {
    // Reporting asks the server, which may bring further events in.
    while (takeEvents(xcb_poll_for_event) || frontMoved) {
      frontMoved = false;
      workspace_.report();
    }
    if (!workspace_.desktop_->connection().isBroken() || !notifier_.isEnabled()) return;
    notifier_.setEnabled(false);
    Log::app.error("The connection to the X server broke; the application in front is unknown");
  }

  // Returns whether one of them moves the front.
  bool takeEvents(Poll poll) {
    bool moved = false;
    auto& desktop = *workspace_.desktop_;
    while (const XcbPointer<xcb_generic_event_t> event{poll(desktop.xcb())}) {
      moved = desktop.movesTheFront(*event) || moved;
    }
    return moved;
  }

  X11Workspace& workspace_;
  RunLoop& loop_;
  QSocketNotifier notifier_;
  const std::shared_ptr<Events*> self_ = std::make_shared<Events*>(this);
};

std::unique_ptr<X11Workspace> X11Workspace::create(RunLoop& loop,
                                                   const ApplicationIdentifying& applications,
                                                   const std::string& display) {
  auto desktop = Desktop::open(applications, display);
  if (!desktop) return nullptr;
  return std::unique_ptr<X11Workspace>(new X11Workspace(std::move(desktop), loop));
}

X11Workspace::X11Workspace(std::unique_ptr<Desktop> desktop, RunLoop& loop)
    : desktop_(std::move(desktop)),
      lastReported_(desktop_->frontmost()),
      events_(std::make_unique<Events>(*this, loop)) {
  events_->handleQueuedLater();
}

X11Workspace::~X11Workspace() = default;

std::optional<RunningApplication> X11Workspace::frontmostApplication() const {
  auto application = desktop_->frontmost();
  events_->handleQueuedLater();
  return application;
}

void X11Workspace::report() {
  const auto application = desktop_->frontmost();
  if (!application || application == lastReported_) return;
  lastReported_ = application;
  // A copy, because the callee may replace it.
  if (const auto callback = onDidActivate) callback(*application);
}

}  // namespace stowboard
