#include <gtest/gtest.h>

#include "Platform/QtTurns.h"
#include "Platform/X11/OtherPrograms.h"
#include "Platform/X11/Windows/X11Compositing.h"
#include "contract/CompositingContract.h"

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
