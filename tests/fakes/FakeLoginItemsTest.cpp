#include "fakes/FakeLoginItems.h"

#include "contract/LoginItemsContract.h"

namespace stowboard {
namespace {

class FakeLoginItemsHarness {
 public:
  LoginItems& items() { return items_; }
  void refuseChanges() { items_.failure = "Read-only file system"; }

 private:
  FakeLoginItems items_;
};

INSTANTIATE_TYPED_TEST_SUITE_P(Fake, LoginItemsContract, FakeLoginItemsHarness);

}  // namespace
}  // namespace stowboard
