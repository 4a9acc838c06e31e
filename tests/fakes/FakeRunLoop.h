#pragma once

#include <algorithm>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

#include "Platform/RunLoop.h"

namespace stowboard {

/// A run loop on virtual time: nothing runs and no time passes unless the test says so. The loop
/// must outlive the timers that it gave.
class FakeRunLoop final : public RunLoop {
 public:
  void post(Task task) override {
    const std::lock_guard lock(mutex_);
    posted_.push_back(std::move(task));
  }

  void postAfter(Duration delay, Task task) override {
    schedule(now_ + std::max(delay, Duration::zero()), Duration::zero(), std::move(task));
  }

  std::unique_ptr<Timer> startTimer(Duration interval, Task task) override {
    const auto id = schedule(now_ + interval, interval, std::move(task));
    return std::make_unique<RunningTimer>(*this, id);
  }

  TimePoint now() const override { return now_; }

  /// Runs posted tasks, and those that they post, and everything due by now, until none is left.
  void runUntilIdle() { advance(Duration::zero()); }

  /// Lets the time pass with the loop running: each delayed task and timer fires at its own time,
  /// posted tasks in between.
  void advance(Duration duration) {
    const TimePoint end = now_ + duration;
    runPosted();
    for (auto due = nextDue(end); due != scheduled_.end(); due = nextDue(end)) {
      now_ = std::max(now_, due->second.at);
      fire(due->first);
      runPosted();
    }
    now_ = end;
  }

  /// The repeating timers that are alive.
  int runningTimers() const {
    return static_cast<int>(
        std::count_if(scheduled_.begin(), scheduled_.end(),
                      [](const auto& each) { return each.second.interval > Duration::zero(); }));
  }

  /// Posted and delayed tasks that have not run yet.
  std::size_t pendingTasks() const {
    const std::lock_guard lock(mutex_);
    return posted_.size() + scheduled_.size() - static_cast<std::size_t>(runningTimers());
  }

 private:
  struct Scheduled {
    TimePoint at;
    Duration interval;
    Task task;
  };
  using Schedule = std::map<std::uint64_t, Scheduled>;

  class RunningTimer final : public Timer {
   public:
    RunningTimer(FakeRunLoop& loop, std::uint64_t id) : loop_(loop), id_(id) {}
    ~RunningTimer() override { loop_.scheduled_.erase(id_); }

   private:
    FakeRunLoop& loop_;
    const std::uint64_t id_;
  };

  std::uint64_t schedule(TimePoint at, Duration interval, Task task) {
    scheduled_.emplace(++lastId_, Scheduled{at, interval, std::move(task)});
    return lastId_;
  }

  Schedule::iterator nextDue(TimePoint end) {
    const auto next = std::min_element(
        scheduled_.begin(), scheduled_.end(),
        [](const auto& left, const auto& right) { return left.second.at < right.second.at; });
    return next != scheduled_.end() && next->second.at <= end ? next : scheduled_.end();
  }

  void fire(std::uint64_t id) {
    auto& due = scheduled_.at(id);
    const Task task = due.task;
    if (due.interval > Duration::zero()) {
      due.at += due.interval;
    } else {
      scheduled_.erase(id);
    }
    task();
  }

  void runPosted() {
    while (Task task = takePosted()) task();
  }

  Task takePosted() {
    const std::lock_guard lock(mutex_);
    if (posted_.empty()) return {};
    Task task = std::move(posted_.front());
    posted_.pop_front();
    return task;
  }

  mutable std::mutex mutex_;
  std::deque<Task> posted_;
  Schedule scheduled_;
  std::uint64_t lastId_ = 0;
  TimePoint now_{};
};

}  // namespace stowboard
