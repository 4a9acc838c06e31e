#pragma once

#include <memory>

#include "Platform/RunLoop.h"

namespace stowboard {

/// The main thread's Qt event loop; works with a QCoreApplication and everything derived from it.
///
/// Built and destroyed on the main thread, while an application object exists. It may be destroyed
/// only when no other thread can post to it any more: stop those threads first. Tasks that have not
/// run by then never do. Timers may outlive it.
///
/// A task that throws is logged as an error and does not keep the others from running. While
/// nothing is posted and no timer runs, the loop does not wake.
class QtRunLoop final : public RunLoop {
 public:
  QtRunLoop();
  ~QtRunLoop() override;

  void post(Task task) override;
  /// Precise to about a millisecond.
  void postAfter(Duration delay, Task task) override;
  /// Below half a second precise to about a millisecond; from there on turns may come up to 5
  /// percent off, so that the system can let several timers share a wake-up.
  std::unique_ptr<Timer> startTimer(Duration interval, Task task) override;
  TimePoint now() const override;

 private:
  class Queue;
  const std::unique_ptr<Queue> queue_;
};

}  // namespace stowboard
