#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>
#include <utility>

#include "Platform/RunLoop.h"

namespace stowboard {

/// The main queue as the test's own thread, in real time and without timers: for adapters that post
/// from threads of theirs.
class QueueingRunLoop final : public RunLoop {
 public:
  void post(Task task) override {
    const std::lock_guard lock(mutex_);
    tasks_.push_back(std::move(task));
    posted_.notify_one();
  }
  void postAfter(Duration, Task) override { std::abort(); }
  std::unique_ptr<Timer> startTimer(Duration, Task) override { std::abort(); }
  TimePoint now() const override { return std::chrono::steady_clock::now(); }

  /// Runs tasks as they come until the condition holds; false when it does not within ten seconds.
  template <typename Condition>
  bool runUntil(Condition condition) {
    const auto end = now() + std::chrono::seconds(10);
    while (!condition()) {
      if (now() > end) return false;
      runOne(std::chrono::milliseconds(2));
    }
    return true;
  }

 private:
  // The condition may hang on something other than a task, hence the pause's end.
  void runOne(std::chrono::milliseconds pause) {
    std::unique_lock lock(mutex_);
    if (!posted_.wait_for(lock, pause, [this] { return !tasks_.empty(); })) return;
    const Task task = std::move(tasks_.front());
    tasks_.pop_front();
    lock.unlock();
    task();
  }

  std::mutex mutex_;
  std::condition_variable posted_;
  std::deque<Task> tasks_;
};

}  // namespace stowboard
