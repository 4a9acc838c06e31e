#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Platform/RunLoop.h"

namespace stowboard {

/// What every RunLoop has to hold. A Harness has loop(), and turnUntil(condition), which turns the
/// loop until the condition holds and returns false when that takes far too long.
template <typename Harness>
class RunLoopContract : public ::testing::Test {
 protected:
  RunLoop& loop() { return harness_.loop(); }
  Harness harness_;
};

TYPED_TEST_SUITE_P(RunLoopContract);

TYPED_TEST_P(RunLoopContract, RunsPostedTasksLaterAndInOrder) {
  std::string order;
  this->loop().post([&] {
    order += 'a';
    this->loop().post([&] { order += 'c'; });
    order += 'A';
  });
  this->loop().post([&] { order += 'b'; });
  EXPECT_EQ(order, "");
  EXPECT_TRUE(this->harness_.turnUntil([&] { return order.size() == 4; }));
  EXPECT_EQ(order, "aAbc");
}

TYPED_TEST_P(RunLoopContract, TakesTasksFromAnyThreadAndRunsThemOnItsOwn) {
  constexpr int threadCount = 4;
  constexpr int tasksEach = 500;
  const auto main = std::this_thread::get_id();
  std::vector<std::vector<int>> ran(threadCount);
  int total = 0;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < threadCount; ++thread) {
    threads.emplace_back([&, thread] {
      for (int task = 0; task < tasksEach; ++task) {
        this->loop().post([&, thread, task] {
          EXPECT_EQ(std::this_thread::get_id(), main);
          ran[thread].push_back(task);
          ++total;
        });
      }
    });
  }
  EXPECT_TRUE(this->harness_.turnUntil([&] { return total == threadCount * tasksEach; }));
  for (auto& thread : threads) thread.join();
  for (const auto& tasks : ran) EXPECT_TRUE(std::is_sorted(tasks.begin(), tasks.end()));
}

TYPED_TEST_P(RunLoopContract, RunsADelayedTaskOnceAndNotBeforeItsTime) {
  using namespace std::chrono_literals;
  std::vector<std::pair<RunLoop::Duration, RunLoop::Duration>> dueAndDone;
  const auto start = this->loop().now();
  for (const RunLoop::Duration delay : {60ms, 0ms, 20ms, -5ms}) {
    this->loop().postAfter(
        delay, [&, delay] { dueAndDone.emplace_back(delay, this->loop().now() - start); });
  }
  EXPECT_TRUE(dueAndDone.empty());
  EXPECT_TRUE(this->harness_.turnUntil([&] { return dueAndDone.size() == 4; }));
  for (const auto& [due, done] : dueAndDone) EXPECT_GE(done, due);
  EXPECT_EQ(dueAndDone.back().first, 60ms);
  bool hasPassed = false;
  this->loop().postAfter(80ms, [&] { hasPassed = true; });
  EXPECT_TRUE(this->harness_.turnUntil([&] { return hasPassed; }));
  EXPECT_EQ(dueAndDone.size(), 4u);
}

TYPED_TEST_P(RunLoopContract, RepeatsATimerUntilItsHandleIsDestroyed) {
  using namespace std::chrono_literals;
  int outer = 0;
  int inner = 0;
  std::unique_ptr<RunLoop::Timer> stopsItself;
  const auto start = this->loop().now();
  auto timer = this->loop().startTimer(20ms, [&] { ++outer; });
  stopsItself = this->loop().startTimer(5ms, [&, keptAlive = std::make_shared<int>(7)] {
    if (++inner == 2) stopsItself.reset();
    // What the task holds is still there.
    EXPECT_EQ(*keptAlive, 7);
  });
  EXPECT_EQ(outer, 0);
  EXPECT_TRUE(this->harness_.turnUntil([&] { return outer >= 3 && inner >= 2; }));
  EXPECT_GE(this->loop().now() - start, 60ms);

  timer.reset();
  const int atEnd = outer;
  bool hasPassed = false;
  this->loop().postAfter(70ms, [&] { hasPassed = true; });
  EXPECT_TRUE(this->harness_.turnUntil([&] { return hasPassed; }));
  EXPECT_EQ(outer, atEnd);
  EXPECT_EQ(inner, 2);
}

REGISTER_TYPED_TEST_SUITE_P(RunLoopContract, RunsPostedTasksLaterAndInOrder,
                            TakesTasksFromAnyThreadAndRunsThemOnItsOwn,
                            RunsADelayedTaskOnceAndNotBeforeItsTime,
                            RepeatsATimerUntilItsHandleIsDestroyed);

}  // namespace stowboard
