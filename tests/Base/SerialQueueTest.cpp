#include "Base/SerialQueue.h"

#include <gmock/gmock.h>
#include <pthread.h>
#include <signal.h>

#include <atomic>
#include <future>
#include <new>
#include <numeric>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "fakes/LogCapture.h"

namespace stowboard {
namespace {

TEST(SerialQueue, RunsTasksOfSeveralThreadsOneAtATimeInSubmissionOrder) {
  std::vector<int> seen[2];
  {
    SerialQueue queue("test");
    const auto submit = [&](int thread) {
      for (int index = 0; index < 1000; ++index) {
        queue.async([&, thread, index] { seen[thread].push_back(index); });
      }
    };
    std::thread other(submit, 1);
    submit(0);
    other.join();
  }
  // Destruction has run them all.
  std::vector<int> expected(1000);
  std::iota(expected.begin(), expected.end(), 0);
  EXPECT_EQ(seen[0], expected);
  EXPECT_EQ(seen[1], expected);
}

TEST(SerialQueue, SyncReturnsWhenEverythingBeforeItHasRun) {
  SerialQueue queue("test");
  std::promise<void> release;
  std::atomic<int> finished = 0;
  queue.async([&, wait = release.get_future().share()] {
    wait.wait();
    ++finished;
  });
  std::thread releasing([&] { release.set_value(); });
  queue.sync([&] { EXPECT_EQ(finished++, 1); });
  EXPECT_EQ(finished, 2);
  releasing.join();
}

TEST(SerialQueue, ATaskThatThrowsCostsNoOther) {
  LogCapture log;
  SerialQueue queue("test");
  int finished = 0;
  queue.async([] { throw std::bad_alloc(); });
  queue.sync([] { throw std::runtime_error("no reason"); });
  queue.sync([] { throw 1; });
  queue.sync([&] { ++finished; });
  EXPECT_EQ(finished, 1);
  EXPECT_THAT(log.lines(), testing::ElementsAre("error app: A task of test failed: std::bad_alloc",
                                                "error app: A task of test failed: no reason",
                                                "error app: A task of test failed"));
}

/// No thread can be had while one lives: each would need more memory than there is.
class NoThreads {
 public:
  NoThreads() {
    pthread_getattr_default_np(&before_);
    pthread_attr_t huge;
    pthread_getattr_default_np(&huge);
    pthread_attr_setstacksize(&huge, std::size_t{1} << 46);
    EXPECT_EQ(pthread_setattr_default_np(&huge), 0);
    pthread_attr_destroy(&huge);
  }
  ~NoThreads() {
    pthread_setattr_default_np(&before_);
    pthread_attr_destroy(&before_);
  }

 private:
  pthread_attr_t before_;
};

TEST(SerialQueue, CostsATaskAtMostWhereNoThreadIsToBeHad) {
  LogCapture log;
  SerialQueue queue("test");
  int finished = 0;
  {
    const NoThreads scarcity;
    EXPECT_FALSE(queue.async([&] { finished += 100; }));
    queue.sync([&] { finished += 100; });
  }
  queue.sync([&] { ++finished; });
  EXPECT_EQ(finished, 1);
  const auto told = testing::StartsWith("error app: A task of test failed: ");
  EXPECT_THAT(log.lines(), testing::ElementsAre(told, told));
}

TEST(SerialQueue, ItsThreadIsNamedAndTakesNoSignals) {
  SerialQueue queue("com.example.storage");
  queue.sync([] {
    char name[16] = {};
    pthread_getname_np(pthread_self(), name, sizeof name);
    EXPECT_STREQ(name, "com.example.sto");
    sigset_t blocked;
    pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    EXPECT_TRUE(sigismember(&blocked, SIGTERM));
  });
  sigset_t blocked;
  pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
  EXPECT_FALSE(sigismember(&blocked, SIGTERM)) << "the caller's mask stays as it was";
}

}  // namespace
}  // namespace stowboard
