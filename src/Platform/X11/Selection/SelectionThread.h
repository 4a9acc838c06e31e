#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "Base/SerialQueue.h"
#include "Platform/X11/Selection/SelectionSession.h"
#include "Platform/X11/X11Connection.h"

namespace stowboard {

/// The thread that speaks with the other programs about the selections, over a connection of its
/// own. It sleeps until the server sends something, a command or a deadline comes. What it does
/// then is the SelectionSession's; this is how other threads start it, and reach it.
class SelectionThread {
 public:
  using Command = std::function<void(SelectionSession&)>;

  /// Starts it. Null when there is no X server, or one without XFixes. Copies made after the return
  /// are seen. `receiver` and `onConnectionLost` are called on the thread; the latter at most once,
  /// as the last thing that it does.
  static std::unique_ptr<SelectionThread> create(ImageCodec& codec,
                                                 const ApplicationIdentifying& applications,
                                                 const SelectionOptions& options,
                                                 SnapshotReceiver receiver,
                                                 std::function<void()> onConnectionLost);
  ~SelectionThread();
  SelectionThread(const SelectionThread&) = delete;
  SelectionThread& operator=(const SelectionThread&) = delete;

  /// Begins a write; see SelectionSession::beginWrite(). Does not wait for the server. One thread
  /// at a time.
  void beginWrite(std::uint32_t number);
  /// Runs the command on the thread, after those posted before; not any more after end(). From any
  /// thread.
  void post(Command command);
  /// Hands the clipboard over where that makes sense, within the time for it, and ends the thread.
  void end();

 private:
  SelectionThread(std::unique_ptr<X11Connection> connection,
                  std::unique_ptr<X11Connection> writeConnection, ImageCodec& codec,
                  const ApplicationIdentifying& applications, const SelectionOptions& options,
                  SnapshotReceiver receiver, std::function<void()> onConnectionLost);

  void run();
  bool isDone();
  template <typename Work>
  static void guard(Work work);
  bool runCommands();
  bool handleEvents();
  bool expireDeadlines();
  void sleep();
  void wake() const;
  Background background(SerialQueue& queue, const std::atomic<bool>& isOver);

  std::unique_ptr<X11Connection> connection_;
  // Carries next to nothing, so that beginWrite() never finds it full.
  std::unique_ptr<X11Connection> writeConnection_;
  SelectionSession session_;
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
