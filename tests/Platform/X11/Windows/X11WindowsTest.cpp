#include <gtest/gtest.h>
#include <xcb/xtest.h>

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

INSTANTIATE_TYPED_TEST_SUITE_P(X11, CompositingContract, RealCompositingHarness);

class RealTransientWindowsHarness {
 public:
  RealTransientWindowsHarness() {
    window_.setFlags(Qt::BypassWindowManagerHint);
    window_.setGeometry(100, 100, 200, 100);
    window_.show();
    EXPECT_TRUE(turnUntil([&] { return window_.isExposed(); }));
  }

  TransientWindows& windows() { return *windows_; }
  std::uint64_t window() const { return window_.winId(); }
  void clickOutside() { click(1, 500, 400); }
  void clickInside() { click(1, 150, 150); }
  void turnWheelOutside() { click(4, 500, 400); }
  bool turnUntil(const std::function<bool()>& condition) { return turnQtUntil(condition); }

 private:
  // Where it was is asked when it is told of, so it stays there until it has been.
  void click(std::uint8_t button, std::int16_t x, std::int16_t y) {
    fake(XCB_MOTION_NOTIFY, 0, x, y);
    fake(XCB_BUTTON_PRESS, button, 0, 0);
    fake(XCB_BUTTON_RELEASE, button, 0, 0);
    awaitReply(xcb_get_input_focus_reply, user_->xcb(), xcb_get_input_focus(user_->xcb()));
    QCoreApplication::processEvents();
  }
  void fake(std::uint8_t type, std::uint8_t button, std::int16_t x, std::int16_t y) {
    xcb_test_fake_input(user_->xcb(), type, button, XCB_CURRENT_TIME, user_->root(), x, y, 0);
  }

  QRasterWindow window_;
  std::unique_ptr<X11TransientWindows> windows_ = X11TransientWindows::create();
  std::unique_ptr<X11Connection> user_ = X11Connection::open("");
};

INSTANTIATE_TYPED_TEST_SUITE_P(X11, TransientWindowsContract, RealTransientWindowsHarness);

}  // namespace
}  // namespace stowboard
