#include "contract/PasteboardContract.h"
#include "fakes/FakePasteboard.h"

namespace stowboard {
namespace {

struct FakeDriver {
  FakePasteboard fake;

  Pasteboard& pasteboard() { return fake; }
  void copy(FakePasteboard::Content content) { fake.copy(std::move(content)); }
  void endOwner() {}
};

INSTANTIATE_TYPED_TEST_SUITE_P(Fake, PasteboardContract, FakeDriver);

}  // namespace
}  // namespace stowboard
