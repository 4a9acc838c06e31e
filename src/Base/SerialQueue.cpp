#include "Base/SerialQueue.h"

#include <future>
#include <memory>
#include <utility>

#include "Base/SignalFreeThread.h"
#include "Base/Survive.h"

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

bool SerialQueue::async(Task task) {
  const bool isQueued = survives(Log::app, label_, [&] { enqueue(std::move(task)); });
  wake_.notify_one();
  return isQueued;
}

// The thread comes first: without one, nothing would ever take the task.
void SerialQueue::enqueue(Task task) {
  const std::lock_guard lock(mutex_);
  if (!thread_.joinable()) thread_ = startSignalFreeThread(label_, [this] { run(); });
  tasks_.push_back(std::move(task));
}

void SerialQueue::sync(Task task) {
  auto ended = std::make_shared<std::promise<void>>();
  const auto end = ended->get_future();
  // Its promise ends with the task, whatever becomes of that.
  async([task = std::move(task), ended = std::move(ended)] { task(); });
  end.wait();
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
      survives(Log::app, label_, task);
    }
    // The task, and what it held, is gone before the lock is taken again.
    lock.lock();
  }
}

}  // namespace stowboard
