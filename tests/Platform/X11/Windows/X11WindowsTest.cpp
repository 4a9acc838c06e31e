#include <gtest/gtest.h>
#include <xcb/xtest.h>

#include <QAbstractNativeEventFilter>
#include <QRasterWindow>

#include "Platform/QtTurns.h"
#include "Platform/X11/OtherPrograms.h"
#include "Platform/X11/Windows/X11Compositing.h"
#include "Platform/X11/Windows/X11TransientWindows.h"
#include "contract/CompositingContract.h"
#include "contract/TransientWindowsContract.h"

namespace stowboard {
namespace {

[[maybe_unused]] const auto* const desktopApplication =
    ::testing::AddGlobalTestEnvironment(new DesktopApplication);

class RealCompositingHarness {
 public:
  Compositing& compositing() { return compositing_; }
  void start() {
    manager_ = X11Connection::open("");
    xcb_set_selection_owner(manager_->xcb(), manager_->createWindow(0),
                            manager_->atom("_NET_WM_CM_S0"), XCB_CURRENT_TIME);
    xcb_flush(manager_->xcb());
  }
  void end() { manager_.reset(); }
  bool turnUntil(const std::function<bool()>& condition) { return turnQtUntil(condition); }

 private:
  X11Compositing compositing_{X11MainConnection::open()};
  std::unique_ptr<X11Connection> manager_;
};

/// Sees messages to a window come through the toolkit's connection, in order with its other events.
class Messages final : private QAbstractNativeEventFilter {
 public:
  Messages() { QCoreApplication::instance()->installNativeEventFilter(this); }
  int last() const { return last_; }

 private:
  bool nativeEventFilter(const QByteArray&, void* message, qintptr*) override {
    const auto* sent = eventAs<xcb_client_message_event_t>(
        *static_cast<const xcb_generic_event_t*>(message), XCB_CLIENT_MESSAGE);
    if (sent == nullptr || sent->type != XCB_ATOM_INTEGER) return false;
    last_ = static_cast<int>(sent->data.data32[0]);
    return true;
  }

  int last_ = 0;
};

class RealTransientWindowsHarness {
 public:
  RealTransientWindowsHarness() {
    window_.setFlag(Qt::BypassWindowManagerHint);
    window_.setGeometry(100, 100, 200, 100);
    window_.show();
    EXPECT_TRUE(turnUntil([this] { return window_.isExposed(); }));
  }

  TransientWindows& windows() { return *windows_; }
  std::uint64_t window() const { return window_.winId(); }
  void clickInside() { click(150, 150, 1); }
  void clickOutside() { click(600, 600, 1); }
  void turnWheelOutside() { click(600, 600, 5); }
  bool turnUntil(const std::function<bool()>& condition) { return turnQtUntil(condition); }

 private:
  // The pointer stays until the click was handled: where it was is asked of the server.
  void click(std::int16_t x, std::int16_t y, std::uint8_t button) {
    // Whether clicks are told is asked for on the toolkit's connection, the click made on another.
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    awaitReply(xcb_get_input_focus_reply, x11->connection(),
               xcb_get_input_focus(x11->connection()));
    const auto send = [&](std::uint8_t type, std::uint8_t detail) {
      xcb_test_fake_input(user_->xcb(), type, detail, XCB_CURRENT_TIME, user_->root(), x, y, 0);
    };
    send(XCB_MOTION_NOTIFY, 0);
    send(XCB_BUTTON_PRESS, button);
    send(XCB_BUTTON_RELEASE, button);
    sendMessage(++clicks_);
    EXPECT_TRUE(turnUntil([this] { return messages_.last() == clicks_; }));
  }
  void sendMessage(int number) {
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = static_cast<xcb_window_t>(window());
    event.type = XCB_ATOM_INTEGER;
    event.data.data32[0] = static_cast<std::uint32_t>(number);
    xcb_send_event(user_->xcb(), 0, event.window, 0, reinterpret_cast<const char*>(&event));
    xcb_flush(user_->xcb());
  }

  std::unique_ptr<X11Connection> user_ = X11Connection::open("");
  std::unique_ptr<X11TransientWindows> windows_ = X11TransientWindows::create();
  Messages messages_;
  QRasterWindow window_;
  int clicks_ = 0;
};

INSTANTIATE_TYPED_TEST_SUITE_P(X11, TransientWindowsContract, RealTransientWindowsHarness);

TEST(X11MainConnection, AFloodOfEventsLeavesTheLoopItsTurns) {
  constexpr int flood = 1000;
  const auto connection = X11MainConnection::open();
  const std::uint32_t properties = XCB_EVENT_MASK_PROPERTY_CHANGE;
  xcb_change_window_attributes(connection->xcb(), connection->root(), XCB_CW_EVENT_MASK,
                               &properties);
  QObject context;
  int handled = 0;
  int handledBeforeTheTask = 0;
  const auto subscription = connection->subscribe(
      {[&](const xcb_generic_event_t&) {
         if (++handled == 1) {
           QMetaObject::invokeMethod(
               &context, [&] { handledBeforeTheTask = handled; }, Qt::QueuedConnection);
         }
         return false;
       },
       [] {}});
  // The answer tells that all of them have come.
  for (int count = 0; count < flood; ++count) {
    xcb_change_property(connection->xcb(), XCB_PROP_MODE_APPEND, connection->root(),
                        connection->connection().atom("STOWBOARD_FLOOD"), XCB_ATOM_INTEGER, 32, 0,
                        nullptr);
  }
  connection->connection().atom("STOWBOARD_FLOOD_END");
  EXPECT_TRUE(turnQtUntil([&] { return handled >= flood; }));
  EXPECT_GT(handledBeforeTheTask, 0);
  EXPECT_LT(handledBeforeTheTask, flood);
}

INSTANTIATE_TYPED_TEST_SUITE_P(X11, CompositingContract, RealCompositingHarness);

}  // namespace
}  // namespace stowboard
