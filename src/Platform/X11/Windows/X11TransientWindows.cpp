#include "Platform/X11/Windows/X11TransientWindows.h"

#include <xcb/xfixes.h>
#include <xcb/xinput.h>

#include <QAbstractNativeEventFilter>
#include <QCoreApplication>
#include <QGuiApplication>
#include <algorithm>
#include <array>
#include <bitset>
#include <utility>

#include "Platform/X11/X11Connection.h"

namespace stowboard {

namespace {

constexpr std::uint32_t clickMask =
    XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_RELEASE |
    XCB_INPUT_XI_EVENT_MASK_RAW_TOUCH_BEGIN | XCB_INPUT_XI_EVENT_MASK_RAW_TOUCH_END;

using Keys = std::bitset<256>;

bool isWheel(std::uint32_t button) { return button >= 4 && button <= 7; }

// The focus itself stays where it is while a program grabs the keyboard, and events tell when it
// moves meanwhile.
bool isOfGrab(std::uint8_t mode) {
  return mode == XCB_NOTIFY_MODE_GRAB || mode == XCB_NOTIFY_MODE_UNGRAB;
}

}  // namespace

/// The X server, by the toolkit's connection.
class X11TransientWindows::Server {
 public:
  explicit Server(xcb_connection_t* connection)
      : connection_(connection),
        input_(findExtension(connection, xcb_input_id)),
        root_(xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root),
        state_(internAtom(connection, "_NET_WM_STATE")),
        skipTaskbar_(internAtom(connection, "_NET_WM_STATE_SKIP_TASKBAR")),
        skipPager_(internAtom(connection, "_NET_WM_STATE_SKIP_PAGER")),
        frameExtents_(internAtom(connection, "_GTK_FRAME_EXTENTS")) {}

  bool tellsClicks() const { return input_ != nullptr; }

  void setClickEvents(bool areWanted) const {
    struct {
      xcb_input_event_mask_t head;
      std::uint32_t mask;
    } const masks{{XCB_INPUT_DEVICE_ALL_MASTER, 1}, areWanted ? clickMask : 0};
    xcb_input_xi_select_events(connection_, root_, 1, &masks.head);
    xcb_flush(connection_);
  }

  bool isClick(const xcb_generic_event_t& event) const {
    return isOf(event, XCB_INPUT_RAW_BUTTON_PRESS, XCB_INPUT_RAW_TOUCH_BEGIN);
  }
  bool isRelease(const xcb_generic_event_t& event) const {
    return isOf(event, XCB_INPUT_RAW_BUTTON_RELEASE, XCB_INPUT_RAW_TOUCH_END);
  }

  // Raw events do not tell where; the windows below the pointer are asked from the outermost in.
  bool isPointerIn(xcb_window_t window) const {
    xcb_window_t each = root_;
    while (each != XCB_NONE && each != window) each = childAtPointer(each);
    return each == window;
  }

  Keys keysDown() const {
    Keys down;
    const auto reply =
        awaitReply(xcb_query_keymap_reply, connection_, xcb_query_keymap(connection_));
    for (std::size_t key = 0; reply && key < down.size(); ++key) {
      down.set(key, (reply->keys[key / 8] >> (key % 8) & 1) != 0);
    }
    return down;
  }

  // Window managers drop the states of a window that is taken off the screen (EWMH).
  void keepOutOfTaskBars(xcb_window_t window) const {
    set(window, state_, XCB_ATOM_ATOM, std::array{skipTaskbar_, skipPager_});
  }

  // What programs with a shadow of their own tell window managers and compositors by.
  void setFrameExtents(xcb_window_t window, std::uint32_t margin) const {
    set(window, frameExtents_, XCB_ATOM_CARDINAL, std::array{margin, margin, margin, margin});
  }

  void takeClicksInside(xcb_window_t window, int margin) const {
    const auto region = margin > 0 ? regionInside(window, margin) : xcb_xfixes_region_t{XCB_NONE};
    xcb_xfixes_set_window_shape_region(connection_, window, XCB_SHAPE_SK_INPUT, 0, 0, region);
    if (region != XCB_NONE) xcb_xfixes_destroy_region(connection_, region);
  }

 private:
  bool isOf(const xcb_generic_event_t& event, int ofButton, int ofTouch) const {
    const auto& generic = reinterpret_cast<const xcb_ge_generic_event_t&>(event);
    if (generic.response_type != XCB_GE_GENERIC || generic.extension != input_->major_opcode) {
      return false;
    }
    if (generic.event_type == ofTouch) return true;
    return generic.event_type == ofButton &&
           !isWheel(reinterpret_cast<const xcb_input_raw_button_press_event_t&>(event).detail);
  }

  template <std::size_t count>
  void set(xcb_window_t window, xcb_atom_t property, xcb_atom_t type,
           const std::array<std::uint32_t, count>& values) const {
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window, property, type, 32, count,
                        values.data());
  }

  xcb_window_t childAtPointer(xcb_window_t window) const {
    const auto reply =
        awaitReply(xcb_query_pointer_reply, connection_, xcb_query_pointer(connection_, window));
    return reply ? reply->child : xcb_window_t{XCB_NONE};
  }

  xcb_xfixes_region_t regionInside(xcb_window_t window, int margin) const {
    const auto size =
        awaitReply(xcb_get_geometry_reply, connection_, xcb_get_geometry(connection_, window));
    if (!size) return XCB_NONE;
    const auto inner = [margin](int length) {
      return static_cast<std::uint16_t>(std::max(length - 2 * margin, 0));
    };
    const auto start = static_cast<std::int16_t>(margin);
    const xcb_rectangle_t inside{start, start, inner(size->width), inner(size->height)};
    const auto region = xcb_generate_id(connection_);
    xcb_xfixes_create_region(connection_, region, 1, &inside);
    return region;
  }

  xcb_connection_t* const connection_;
  const xcb_query_extension_reply_t* const input_;
  const xcb_window_t root_;
  const xcb_atom_t state_;
  const xcb_atom_t skipTaskbar_;
  const xcb_atom_t skipPager_;
  const xcb_atom_t frameExtents_;
};

/// Looks at the toolkit's events before it does.
class X11TransientWindows::FilteringWatch final : public Watch, private QAbstractNativeEventFilter {
 public:
  FilteringWatch(std::shared_ptr<Server> server, xcb_window_t window,
                 std::function<void()> onClickOutside)
      : server_(std::move(server)),
        window_(window),
        onClickOutside_(std::move(onClickOutside)),
        heldKeys_(server_->keysDown()) {
    QCoreApplication::instance()->installNativeEventFilter(this);
    server_->setClickEvents(true);
  }
  ~FilteringWatch() override { server_->setClickEvents(false); }

 private:
  bool nativeEventFilter(const QByteArray&, void* message, qintptr*) override {
    const auto& event = *static_cast<const xcb_generic_event_t*>(message);
    const auto type = event.response_type & 0x7f;
    if (type == XCB_FOCUS_IN || type == XCB_FOCUS_OUT) {
      return swallowsFocus(reinterpret_cast<const xcb_focus_in_event_t&>(event), type);
    }
    if (type == XCB_KEY_PRESS || type == XCB_KEY_RELEASE) {
      const auto key = reinterpret_cast<const xcb_key_press_event_t&>(event).detail;
      if (type == XCB_KEY_RELEASE) heldKeys_.reset(key);
      return heldKeys_.test(key);
    }
    if (server_->isRelease(event)) {
      if (const auto callback = onRelease) callback();
      return true;
    }
    if (!server_->isClick(event)) return false;
    // A copy, because it may end this watch.
    if (const auto callback = onClickOutside_; !server_->isPointerIn(window_)) callback();
    return true;
  }

  bool swallowsFocus(const xcb_focus_in_event_t& focus, int type) {
    if (focus.event != window_) return false;
    if (type == XCB_FOCUS_IN) {
      if (heldKeys_.any()) heldKeys_ &= server_->keysDown();
      const bool isIn = focus.detail != XCB_NOTIFY_DETAIL_POINTER && !isOfGrab(focus.mode);
      if (const auto callback = onFocus; callback && isIn) callback();
    }
    return isOfGrab(focus.mode);
  }

  const std::shared_ptr<Server> server_;
  const xcb_window_t window_;
  const std::function<void()> onClickOutside_;
  /// Down since before the window was shown: their repeats type nothing in it.
  Keys heldKeys_;
};

std::unique_ptr<X11TransientWindows> X11TransientWindows::create() {
  const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
  if (x11 == nullptr) return nullptr;
  auto server = std::make_shared<Server>(x11->connection());
  if (!server->tellsClicks()) return nullptr;
  return std::unique_ptr<X11TransientWindows>(new X11TransientWindows(std::move(server)));
}

X11TransientWindows::X11TransientWindows(std::shared_ptr<Server> server)
    : server_(std::move(server)) {}

X11TransientWindows::~X11TransientWindows() = default;

void X11TransientWindows::prepareToShow(std::uint64_t window, int shadowMargin) {
  const auto id = static_cast<xcb_window_t>(window);
  server_->keepOutOfTaskBars(id);
  server_->setFrameExtents(id, static_cast<std::uint32_t>(shadowMargin));
  server_->takeClicksInside(id, shadowMargin);
}

std::unique_ptr<TransientWindows::Watch> X11TransientWindows::watch(
    std::uint64_t window, std::function<void()> onClickOutside) {
  return std::make_unique<FilteringWatch>(server_, static_cast<xcb_window_t>(window),
                                          std::move(onClickOutside));
}

}  // namespace stowboard
