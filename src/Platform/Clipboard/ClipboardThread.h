#pragma once

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include "Base/Log.h"
#include "Base/SerialQueue.h"
#include "Base/SignalFreeThread.h"
#include "Base/Survive.h"
#include "Platform/Clipboard/ClipboardSnapshot.h"
#include "Platform/Clipboard/TransferBuffer.h"

namespace stowboard {

/// Where contents that were fetched are prepared, and where those that are served are encoded.
struct ClipboardBackgrounds {
  Background preparation;
  Background encoding;
};

/// The thread that speaks with the other programs about the clipboard. It sleeps until the display
/// server sends something, a command or a deadline comes. What it does then is the session's, which
/// belongs to it; this is how other threads start it, and reach it. A session has
///   int fileDescriptor() const;      readable when handleEvents() has something to do
///   bool handleEvents();             a bounded number of them; false when there was none
///   void flush();                    sends what was requested
///   bool isBroken() const;           the connection is lost
///   std::optional<SteadyTime> deadline() const;  when expire() has something to do
///   void expire();
///   void handOver();                 the end is near: gives our content to whom it may concern
///   bool isHandingOver() const;
template <typename Session>
class ClipboardThread {
 public:
  using Command = std::function<void(Session&)>;
  /// Gives a pointer to the session; null where there can be none.
  using MakeSession = std::function<std::unique_ptr<Session>(ClipboardBackgrounds)>;

  /// Starts it. Null when there is no session. Copies made after the return are seen.
  /// `onConnectionLost` is called on the thread, at most once, as the last thing that it does.
  static std::unique_ptr<ClipboardThread> create(const MakeSession& makeSession,
                                                 std::function<void()> onConnectionLost) {
    std::unique_ptr<ClipboardThread> made(new ClipboardThread(std::move(onConnectionLost)));
    // Nobody looks at what would be prepared at the end; who keeps our content may still ask for
    // something that has to be encoded.
    made->session_ = makeSession({made->background(made->preparation_, made->isEnding_),
                                  made->background(made->encoding_, made->hasEnded_)});
    if (!made->session_) return nullptr;
    made->thread_ = startSignalFreeThread("selection", [self = made.get()] {
      self->run();
      self->hasEnded_ = true;
    });
    return made;
  }
  ~ClipboardThread() {
    end();
    close(wakeUp_);
  }
  ClipboardThread(const ClipboardThread&) = delete;
  ClipboardThread& operator=(const ClipboardThread&) = delete;

  /// For what a session lets other threads do.
  Session& session() { return *session_; }

  /// Runs the command on the thread, after those posted before; not any more after end(). From any
  /// thread.
  void post(Command command) {
    {
      const std::lock_guard lock(mutex_);
      commands_.push_back(std::move(command));
    }
    wake();
  }

  /// Hands the clipboard over where that makes sense, within the time for it, and ends the thread.
  void end() {
    if (!thread_.joinable()) return;
    post([](Session& session) { session.handOver(); });
    isEnding_ = true;
    wake();
    thread_.join();
  }

 private:
  explicit ClipboardThread(std::function<void()> onConnectionLost)
      : onConnectionLost_(std::move(onConnectionLost)),
        wakeUp_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

  void run() {
    while (!isDone()) {
      session_->flush();
      const bool didRun = runCommands();
      bool didHandle = true;  // There may be more behind what found no memory.
      guard([&] { didHandle = session_->handleEvents(); });
      const bool didExpire = expireDeadlines();
      if (session_->isBroken()) return onConnectionLost_();
      // Handling may have left requests unsent, or have read further events, of which poll() would
      // not know.
      if (!didRun && !didHandle && !didExpire) sleep();
    }
    session_->flush();
  }

  bool isDone() {
    if (!isEnding_) return false;
    const std::lock_guard lock(mutex_);
    return commands_.empty() && !session_->isHandingOver();
  }

  // What finds no memory is lost, but nothing else is.
  template <typename Work>
  static void guard(Work work) {
    survives(Log::clipboard, "the clipboard", work);
  }

  bool runCommands() {
    std::vector<Command> commands;
    {
      const std::lock_guard lock(mutex_);
      commands.swap(commands_);
    }
    for (const auto& command : commands) guard([&] { command(*session_); });
    return !commands.empty();
  }

  bool expireDeadlines() {
    const auto deadline = session_->deadline();
    if (!deadline || *deadline > SteadyTime::clock::now()) return false;
    guard([&] { session_->expire(); });
    return true;
  }

  void sleep() {
    std::array sources{pollfd{session_->fileDescriptor(), POLLIN, 0}, pollfd{wakeUp_, POLLIN, 0}};
    poll(sources.data(), sources.size(), millisecondsUntil(session_->deadline()));
    eventfd_t ignored = 0;
    if ((sources[1].revents & POLLIN) != 0) eventfd_read(wakeUp_, &ignored);
  }

  static int millisecondsUntil(std::optional<SteadyTime> deadline) {
    if (!deadline) return -1;
    const auto left = *deadline - SteadyTime::clock::now();
    // Rounded up: a wake-up just before the deadline would only have to sleep again.
    const auto rounded = std::chrono::ceil<std::chrono::milliseconds>(left).count();
    return static_cast<int>(std::clamp<decltype(rounded)>(rounded, 0, 1 << 30));
  }

  void wake() const {
    // Fails only when the counter is full, and then the thread wakes anyway.
    [[maybe_unused]] const int result = eventfd_write(wakeUp_, 1);
  }

  Background background(SerialQueue& queue, const std::atomic<bool>& isOver) {
    return [this, &queue, &isOver](auto work, auto finish) {
      const auto end = [this, finish = std::move(finish)] {
        post([finish](Session&) { finish(); });
      };
      const bool isQueued = queue.async([&isOver, work = std::move(work), end] {
        if (isOver) return;
        guard(work);
        end();
      });
      if (!isQueued) end();
    };
  }

  std::unique_ptr<Session> session_;
  const std::function<void()> onConnectionLost_;
  const int wakeUp_;
  std::atomic<bool> isEnding_ = false;
  std::atomic<bool> hasEnded_ = false;
  std::mutex mutex_;
  std::vector<Command> commands_;
  std::thread thread_;
  // End first: their tasks post commands.
  SerialQueue preparation_{"clipboard"};
  SerialQueue encoding_{"encoding"};
};

}  // namespace stowboard
