#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "Platform/X11/SelectionReader.h"
#include "Platform/X11/X11Connection.h"

namespace stowboard {

/// The thread that speaks with the other programs about the CLIPBOARD, over a connection of its
/// own. It sleeps until the server sends something or a deadline comes. Destruction ends it at
/// once.
class SelectionThread {
 public:
  /// `receiver` and `onConnectionLost` are called on the thread; the latter at most once, as the
  /// last thing that it does.
  static std::unique_ptr<SelectionThread> start(const std::string& display,
                                                const SelectionLimits& limits,
                                                SelectionReader::Receiver receiver,
                                                std::function<void()> onConnectionLost);
  ~SelectionThread();
  SelectionThread(const SelectionThread&) = delete;
  SelectionThread& operator=(const SelectionThread&) = delete;

 private:
  SelectionThread(std::unique_ptr<X11Connection> connection, const SelectionLimits& limits,
                  SelectionReader::Receiver receiver, std::function<void()> onConnectionLost);

  void run();
  bool handleEvents();
  bool expireDeadlines();
  void sleep();
  void wake();

  std::unique_ptr<X11Connection> connection_;
  SelectionReader reader_;
  const std::function<void()> onConnectionLost_;
  const int wakeUp_;
  std::atomic<bool> isEnding_ = false;
  std::thread thread_;
};

}  // namespace stowboard
