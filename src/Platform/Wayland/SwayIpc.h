#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "Base/FileDescriptor.h"

class QSocketNotifier;

namespace stowboard {

/// A connection to sway's own interface, over which its user's programs give it commands and hear
/// what it does (sway-ipc(7)). Main thread, with Qt's event loop.
class SwayIpc {
 public:
  /// An event of sway's.
  struct Event {
    /// What happened, as "run" or "reload".
    std::string change;
    /// Of a key binding that was used: the command that it runs.
    std::string command;
    /// Of a window of XWayland: its number there; else 0.
    std::uint64_t window = 0;
    /// Of a window: whether it has the focus.
    bool isFocused = false;
  };
  /// Ended by its destruction, which a callback may cause, too.
  class Subscription;

  /// Connects to $SWAYSOCK. Null when no sway answers.
  static std::shared_ptr<SwayIpc> open();
  ~SwayIpc();

  /// Has sway run a command. False when it does not understand it, refuses, or is gone. Waits for
  /// its answer, as long as a second.
  bool run(std::string_view command);
  /// The text of the user's configuration, without the files that it includes; and its file.
  std::string configuration();
  std::string configurationFile();

  /// The window that fills the screen and has the focus, by sway's number; 0 for none.
  std::uint64_t focusedFullscreen();

  /// Calls back, on later turns, with events of these kinds, a list in JSON as ["binding"]. Null
  /// when sway is gone.
  static std::unique_ptr<Subscription> subscribe(std::string_view kinds,
                                                 std::function<void(const Event&)> onEvent);

 private:
  explicit SwayIpc(FileDescriptor socket);

  /// Sway's answer; empty when there is none.
  std::string ask(std::uint32_t type, std::string_view payload);

  FileDescriptor socket_;
};

class SwayIpc::Subscription {
 public:
  Subscription(FileDescriptor socket, std::function<void(const Event&)> onEvent);
  ~Subscription();

 private:
  void readEvents();

  const FileDescriptor socket_;
  const std::function<void(const Event&)> onEvent_;
  const std::unique_ptr<QSocketNotifier> notifier_;
  std::string received_;
};

}  // namespace stowboard
