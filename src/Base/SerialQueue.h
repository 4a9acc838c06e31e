#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace stowboard {

/// Runs tasks one at a time, in submission order, on a thread of its own that starts with the first
/// task and sleeps without waking while there is none. A task that throws, or that cannot be queued
/// for lack of memory or of a thread, costs no other: the log tells. Safe to use from any thread;
/// destruction runs what was submitted before and then ends the thread.
class SerialQueue {
 public:
  using Task = std::function<void()>;

  /// `label` names the queue in diagnostics; the thread carries its first 15 bytes.
  explicit SerialQueue(std::string label);
  ~SerialQueue();
  SerialQueue(const SerialQueue&) = delete;
  SerialQueue& operator=(const SerialQueue&) = delete;

  /// Queues the task and returns at once. False when it could not be queued and is gone.
  bool async(Task task);
  /// Queues the task and returns when it has run, or could not be queued. Never to be called from a
  /// task of this queue.
  void sync(Task task);

 private:
  void run();
  void enqueue(Task task);

  const std::string label_;
  std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<Task> tasks_;
  bool ending_ = false;
  std::thread thread_;
};

}  // namespace stowboard
