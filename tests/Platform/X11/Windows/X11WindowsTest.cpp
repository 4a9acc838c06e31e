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

INSTANTIATE_TYPED_TEST_SUITE_P(X11, CompositingContract, RealCompositingHarness);

}  // namespace
}  // namespace stowboard
