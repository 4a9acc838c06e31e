#include "Platform/Qt/QtRunLoop.h"

#include <QCoreApplication>
#include <QEvent>
#include <QObject>
#include <QTimer>
#include <algorithm>
#include <cstdint>
#include <deque>
#include <exception>
#include <limits>
#include <mutex>
#include <utility>

#include "Base/Log.h"

namespace stowboard {

namespace {

using std::chrono::milliseconds;

// An exception must not travel through the event loop, which is not made for it.
void runGuarded(const RunLoop::Task& task) {
  try {
    task();
  } catch (const std::exception& problem) {
    Log::app.error("A task on the main thread failed: {}", problem.what());
  } catch (...) {
    Log::app.error("A task on the main thread failed");
  }
}

// Rounded up: never before its time.
int wholeMilliseconds(RunLoop::Duration duration) {
  constexpr std::int64_t longest = std::numeric_limits<int>::max();
  const std::int64_t rounded = std::chrono::ceil<milliseconds>(duration).count();
  return static_cast<int>(std::clamp<std::int64_t>(rounded, 0, longest));
}

class RepeatingTimer final : public RunLoop::Timer, private QObject {
 public:
  RepeatingTimer(RunLoop::Duration interval, RunLoop::Task task)
      : task_(std::make_shared<const RunLoop::Task>(std::move(task))) {
    startTimer(wholeMilliseconds(interval),
               interval < milliseconds(500) ? Qt::PreciseTimer : Qt::CoarseTimer);
  }

 private:
  void timerEvent(QTimerEvent*) override {
    // The task may destroy this timer, and must survive that.
    const auto task = task_;
    runGuarded(*task);
  }

  const std::shared_ptr<const RunLoop::Task> task_;
};

}  // namespace

/// The posted tasks. One event stands in Qt's queue for any number of them.
class QtRunLoop::Queue final : public QObject {
 public:
  void push(Task task) {
    {
      const std::lock_guard lock(mutex_);
      tasks_.push_back({++lastPosted_, std::move(task)});
      if (std::exchange(eventIsPosted_, true)) return;
    }
    postEvent();
  }

  bool event(QEvent* event) override {
    if (event->type() != QEvent::User) return QObject::event(event);
    runPosted();
    return true;
  }

 private:
  struct Posted {
    std::uint64_t number = 0;
    Task task;
  };

  void postEvent() { QCoreApplication::postEvent(this, new QEvent(QEvent::User)); }

  // Runs what is posted now; what these tasks post is for a later turn.
  void runPosted() {
    std::unique_lock lock(mutex_);
    eventIsPosted_ = false;
    for (const auto last = lastPosted_; !tasks_.empty() && tasks_.front().number <= last;) {
      Task task = std::move(tasks_.front().task);
      tasks_.pop_front();
      // A task may open a dialog, whose own loop then has to go on with the tasks behind it.
      const bool eventIsNeeded = !tasks_.empty() && !std::exchange(eventIsPosted_, true);
      lock.unlock();
      if (eventIsNeeded) postEvent();
      runGuarded(task);
      // Here and not under the lock: what it captured may post as it goes.
      task = nullptr;
      lock.lock();
    }
  }

  std::mutex mutex_;
  std::deque<Posted> tasks_;
  std::uint64_t lastPosted_ = 0;
  bool eventIsPosted_ = false;
};

QtRunLoop::QtRunLoop() : queue_(std::make_unique<Queue>()) {}

QtRunLoop::~QtRunLoop() = default;

void QtRunLoop::post(Task task) { queue_->push(std::move(task)); }

void QtRunLoop::postAfter(Duration delay, Task task) {
  QTimer::singleShot(milliseconds(wholeMilliseconds(delay)), Qt::PreciseTimer, queue_.get(),
                     [task = std::move(task)] { runGuarded(task); });
}

std::unique_ptr<RunLoop::Timer> QtRunLoop::startTimer(Duration interval, Task task) {
  return std::make_unique<RepeatingTimer>(interval, std::move(task));
}

RunLoop::TimePoint QtRunLoop::now() const { return std::chrono::steady_clock::now(); }

}  // namespace stowboard
