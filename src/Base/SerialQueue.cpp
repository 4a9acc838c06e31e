#include "Base/SerialQueue.h"

#include <exception>
#include <memory>
#include <utility>

#include "Base/Log.h"
#include "Base/SignalFreeThread.h"

namespace stowboard {

SerialQueue::SerialQueue(std::string label) : label_(std::move(label)) {}

SerialQueue::~SerialQueue() {
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
  }
  wake_.notify_one();
  if (thread_.joinable()) thread_.join();
}

void SerialQueue::async(Task task) {
  {
    const std::lock_guard lock(mutex_);
    tasks_.push_back(std::move(task));
    if (!thread_.joinable()) thread_ = startSignalFreeThread(label_, [this] { run(); });
  }
  wake_.notify_one();
}

void SerialQueue::sync(Task task) {
  std::mutex mutex;
  std::condition_variable finished;
  bool done = false;
  async([&] {
    // Also after a task that throws.
    const auto finish = [&](const Task*) {
      // Notified under the lock: once it is released, the caller may be gone with all of these.
      const std::lock_guard lock(mutex);
      done = true;
      finished.notify_one();
    };
    const std::unique_ptr<const Task, decltype(finish)> running(&task, finish);
    task();
  });
  std::unique_lock lock(mutex);
  finished.wait(lock, [&] { return done; });
}

void SerialQueue::run() {
  std::unique_lock lock(mutex_);
  for (;;) {
    wake_.wait(lock, [this] { return ending_ || !tasks_.empty(); });
    if (tasks_.empty()) return;
    {
      const Task task = std::move(tasks_.front());
      tasks_.pop_front();
      lock.unlock();
      perform(task);
    }
    // The task, and what it held, is gone before the lock is taken again.
    lock.lock();
  }
}

void SerialQueue::perform(const Task& task) const {
  try {
    try {
      task();
    } catch (const std::exception& error) {
      Log::app.error("A task of {} failed: {}", label_, error.what());
    } catch (...) {
      Log::app.error("A task of {} failed", label_);
    }
  } catch (const std::exception&) {
    // There is no memory even to tell of it.
  }
}

}  // namespace stowboard
