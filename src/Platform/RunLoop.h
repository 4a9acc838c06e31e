#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace stowboard {

/// The main thread's event loop: its queue, its timers and its clock.
class RunLoop {
 public:
  using Task = std::function<void()>;
  using Duration = std::chrono::nanoseconds;
  /// Monotonic; its origin carries no meaning.
  using TimePoint = std::chrono::time_point<std::chrono::steady_clock, Duration>;

  /// A repeating timer; destroying the handle stops it, also from inside its own task.
  class Timer {
   public:
    virtual ~Timer() = default;
  };

  virtual ~RunLoop() = default;

  /// Runs the task on the main thread on a later turn of the loop, after those posted before it.
  /// The one operation that may be called from any thread. A task posted after the loop has ended
  /// never runs.
  virtual void post(Task task) = 0;

  /// Runs the task once, no earlier than `delay` from now. Main thread.
  virtual void postAfter(Duration delay, Task task) = 0;

  /// Runs the task every `interval`, first after one interval; a turn that comes late is not made
  /// up for. Keeps firing while a menu or a dialog is open. Main thread.
  virtual std::unique_ptr<Timer> startTimer(Duration interval, Task task) = 0;

  virtual TimePoint now() const = 0;
};

}  // namespace stowboard
