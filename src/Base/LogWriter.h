#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>

#include "Base/LogLine.h"

namespace stowboard {

/// The end of the log: a thread that hands lines to the terminal or the journal, in order, however
/// slowly these take them. It is started by the first line and sleeps without waking while there is
/// none. Callers never wait; when more than the bounds below is waiting, further lines are counted
/// instead, and the count is written once there is room.
class LogWriter {
 public:
  static constexpr std::size_t mostWaitingLines = 10000;
  static constexpr std::size_t mostWaitingBytes = 4 << 20;

  enum class Target { terminal, journal, standardError };

  /// Writes to the descriptor what does not go to the journal. A writer that has been given a line
  /// must never be destroyed: its thread may be held by a stopped terminal when the process ends.
  LogWriter(Target target, int descriptor) : target_(target), descriptor_(descriptor) {}

  /// Whether standard error was a terminal when this was first asked.
  static bool goesToTerminal();
  /// Hands a line to the process's one writer.
  static void submit(LogLine line);
  /// Waits until what was submitted before is written, but no longer than two seconds: a terminal
  /// that the user has stopped must not keep the program from ending.
  static void flush();

  /// A line as terminals show it: local time, level where it is error, category, message. Control
  /// characters are written as escapes and malformed UTF-8 as U+FFFD, so that a message can neither
  /// break out of its line nor command the terminal.
  static std::string format(const LogLine& line, std::chrono::system_clock::time_point time);

  /// Any thread; never waits.
  void add(LogLine line);
  /// False when the time was up before everything added so far had been written.
  bool waitUntilWritten(std::chrono::milliseconds bound);

 private:
  struct Entry {
    LogLine line;
    std::chrono::system_clock::time_point time;
  };

  void start();
  void run();
  void write(const Entry& entry) const;
  void enqueue(LogLine line);

  const Target target_;
  const int descriptor_;
  std::mutex mutex_;
  std::condition_variable wake_;
  std::condition_variable written_;
  std::deque<Entry> waiting_;
  std::size_t waitingBytes_ = 0;
  std::size_t dropped_ = 0;
  std::uint64_t addedCount_ = 0;
  std::uint64_t writtenCount_ = 0;
  bool started_ = false;
};

}  // namespace stowboard
