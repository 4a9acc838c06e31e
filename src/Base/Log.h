#pragma once

#include <fmt/format.h>

#include <functional>
#include <string>
#include <utility>

#include "Base/LogLine.h"

namespace stowboard {

/// One logger per area. Safe to use from any thread; a call never waits for the terminal or the
/// journal: lines are handed to a writer thread in order.
///
/// Where they go: with a terminal on standard error, error and info lines go there. Otherwise only
/// errors are kept, in the systemd journal with the fields SUBSYSTEM and CATEGORY, or on standard
/// error where no journal runs. Info lines can carry clip text, so they never reach a log that is
/// kept on disk.
class Logger {
 public:
  explicit constexpr Logger(const char* category) : category_(category) {}

  template <typename... Arguments>
  void error(fmt::format_string<Arguments...> format, Arguments&&... arguments) const {
    write(Level::error, fmt::format(format, std::forward<Arguments>(arguments)...));
  }
  template <typename... Arguments>
  void info(fmt::format_string<Arguments...> format, Arguments&&... arguments) const {
    if (infoIsWanted())
      write(Level::info, fmt::format(format, std::forward<Arguments>(arguments)...));
  }

 private:
  friend struct Log;
  enum class Level { error, info };
  static bool infoIsWanted();
  void write(Level level, std::string message) const;

  const char* category_;
};

struct Log {
  Log() = delete;

  static const Logger app;
  static const Logger storage;
  static const Logger clipboard;
  static const Logger hotKey;
  static const Logger paste;
  static const Logger ui;
  static const Logger settings;

  /// Returns when every line logged before has been written. Called once, before the process ends.
  static void flush();

  using Line = LogLine;

  /// While one lives, every line (info included) goes to its observer and nowhere else; called
  /// on the logging thread, inside the call that logs. At most one at a time. For tests.
  class Observation {
   public:
    explicit Observation(std::function<void(const Line&)> observer);
    ~Observation();
    Observation(const Observation&) = delete;
    Observation& operator=(const Observation&) = delete;
  };
};

}  // namespace stowboard
