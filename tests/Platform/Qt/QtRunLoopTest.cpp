#include "Platform/Qt/QtRunLoop.h"

#include <gtest/gtest.h>

#include <QEventLoop>
#include <stdexcept>
#include <string>
#include <thread>

#include "Platform/QtTurns.h"
#include "contract/RunLoopContract.h"
#include "fakes/LogCapture.h"

namespace stowboard {
namespace {

using namespace std::chrono_literals;

class QtRunLoopHarness {
 public:
  RunLoop& loop() { return loop_; }
  bool turnUntil(const std::function<bool()>& condition) { return turnQtUntil(condition); }

 private:
  QtApplication application_;
  QtRunLoop loop_;
};

INSTANTIATE_TYPED_TEST_SUITE_P(Qt, RunLoopContract, QtRunLoopHarness);

class QtRunLoopTest : public ::testing::Test {
 protected:
  QtApplication application_;
  QtRunLoop loop_;
};

TEST_F(QtRunLoopTest, GoesOnBehindATaskThatThrows) {
  LogCapture log;
  std::string ran;
  loop_.post([] { throw std::runtime_error("no such thing"); });
  loop_.post([&] { ran += 'a'; });
  loop_.postAfter(1ms, [] { throw 7; });
  loop_.postAfter(2ms, [&] { ran += 'b'; });
  EXPECT_TRUE(turnQtUntil([&] { return ran == "ab"; }));
  const std::vector<std::string> expected = {
      "error app: A task on the main thread failed: no such thing",
      "error app: A task on the main thread failed"};
  EXPECT_EQ(log.lines(), expected);
}

// A dialog or a menu runs a loop of its own inside the task that opened it.
TEST_F(QtRunLoopTest, RunsTheTasksBehindOneThatWaitsInALoopOfItsOwn) {
  std::string ran;
  QEventLoop dialog;
  const auto timer = loop_.startTimer(1ms, [&] { ran.find('t') == ran.npos ? ran += 't' : ran; });
  loop_.post([&] {
    ran += '(';
    dialog.exec();
    ran += ')';
  });
  loop_.post([&] { ran += 'a'; });
  loop_.post([&] { loop_.post([&] { loop_.postAfter(10ms, [&] { dialog.quit(); }); }); });
  EXPECT_TRUE(turnQtUntil([&] { return ran.ends_with(')'); }));
  std::erase(ran, 't');
  EXPECT_EQ(ran, "(a)");
}

TEST_F(QtRunLoopTest, LetsWhatATaskHeldPostAsItIsDestroyed) {
  bool ran = false;
  const auto postsAtItsEnd = [&](int*) { loop_.post([&] { ran = true; }); };
  static int anything = 0;
  loop_.post([held = std::shared_ptr<int>(&anything, postsAtItsEnd)] {});
  EXPECT_TRUE(turnQtUntil([&] { return ran; }));
}

TEST_F(QtRunLoopTest, DropsWhatHasNotRunWhenItEnds) {
  bool ran = false;
  auto ending = std::make_unique<QtRunLoop>();
  ending->post([&] { ran = true; });
  ending->postAfter(1ms, [&] { ran = true; });
  ending.reset();
  bool hasPassed = false;
  loop_.postAfter(20ms, [&] { hasPassed = true; });
  EXPECT_TRUE(turnQtUntil([&] { return hasPassed; }));
  EXPECT_FALSE(ran);
}

TEST_F(QtRunLoopTest, DoesNotWakeWithoutWork) {
  int wakeUps = 0;
  QObject::connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::awake,
                   [&] { ++wakeUps; });
  QEventLoop waiting;
  std::thread other([&] {
    std::this_thread::sleep_for(100ms);
    for (int task = 0; task < 1000; ++task) loop_.post([&] { waiting.quit(); });
  });
  waiting.exec();
  other.join();
  // One at the start and one or two for the first tasks that come.
  EXPECT_LE(wakeUps, 5);
}

}  // namespace
}  // namespace stowboard
