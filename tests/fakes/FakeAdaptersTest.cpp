#include <gtest/gtest.h>

#include <functional>

#include "contract/ImageCodecContract.h"
#include "contract/RunLoopContract.h"
#include "contract/WorkspaceContract.h"
#include "fakes/FakeImageCodec.h"
#include "fakes/FakeRunLoop.h"
#include "fakes/FakeWorkspace.h"

namespace stowboard {
namespace {

class FakeRunLoopHarness {
 public:
  RunLoop& loop() { return loop_; }
  bool turnUntil(const std::function<bool()>& condition) {
    for (int turn = 0; turn < 1'000'000; ++turn) {
      if (condition()) return true;
      loop_.advance(std::chrono::milliseconds(1));
    }
    return false;
  }

 private:
  FakeRunLoop loop_;
};

class FakeWorkspaceHarness {
 public:
  Workspace& workspace() { return workspace_; }
  void activate(const std::string& id) { workspace_.activate(id); }
  void leaveFront() { workspace_.setFrontmost(std::nullopt); }
  bool turnUntil(const std::function<bool()>& condition) { return condition(); }

 private:
  FakeWorkspace workspace_;
};

class FakeImageCodecHarness {
 public:
  ImageCodec& codec() { return codec_; }
  Bytes picture(int width, int height) { return FakeImageCodec::encoded(width, height); }

 private:
  FakeImageCodec codec_;
};

INSTANTIATE_TYPED_TEST_SUITE_P(Fake, RunLoopContract, FakeRunLoopHarness);
INSTANTIATE_TYPED_TEST_SUITE_P(Fake, WorkspaceContract, FakeWorkspaceHarness);
INSTANTIATE_TYPED_TEST_SUITE_P(Fake, ImageCodecContract, FakeImageCodecHarness);

}  // namespace
}  // namespace stowboard
