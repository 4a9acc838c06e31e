#include "Base/LogWriter.h"

#include <fmt/format.h>
#include <poll.h>
#include <sys/uio.h>
#include <syslog.h>
#include <unistd.h>

// Where in the source a line was written is nobody's business but the build machine's.
#define SD_JOURNAL_SUPPRESS_LOCATION
#include <systemd/sd-journal.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <ctime>
#include <string_view>
#include <system_error>
#include <utility>

#include "Base/SignalFreeThread.h"
#include "Base/Unicode/Text.h"

namespace stowboard {

namespace {

constexpr std::string_view subsystem = "com.qarvin.stowboard";

/// The running writer, if any; never destroyed, because its thread may be held by a stopped
/// terminal when the process ends.
std::atomic<LogWriter*> running = nullptr;

LogWriter::Target chooseTarget() {
  if (LogWriter::goesToTerminal()) return LogWriter::Target::terminal;
  if (access("/run/systemd/journal/socket", F_OK) == 0) return LogWriter::Target::journal;
  return LogWriter::Target::standardError;
}

LogWriter& writer() {
  static LogWriter* const instance = [] {
    auto* const made = new LogWriter(chooseTarget(), STDERR_FILENO);
    running = made;
    return made;
  }();
  return *instance;
}

void writeAll(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const auto count = ::write(descriptor, bytes.data(), bytes.size());
    if (count >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(count));
    } else if (errno == EAGAIN) {
      // Another program that shares the terminal has made it non-blocking.
      pollfd writable{descriptor, POLLOUT, 0};
      poll(&writable, 1, -1);
    } else if (errno != EINTR) {
      // A closed terminal: there is nowhere left to report that to.
      return;
    }
  }
}

bool writeToJournal(const LogLine& line) {
  std::array<std::string, 5> fields = {
      "MESSAGE=" + line.message,
      fmt::format("PRIORITY={}", line.isError ? LOG_ERR : LOG_INFO),
      fmt::format("SUBSYSTEM={}", subsystem),
      "CATEGORY=" + line.category,
      "SYSLOG_IDENTIFIER=stowboard",
  };
  std::array<iovec, 5> parts;
  for (std::size_t index = 0; index < fields.size(); ++index) {
    parts[index] = {fields[index].data(), fields[index].size()};
  }
  return sd_journal_sendv(parts.data(), static_cast<int>(parts.size())) == 0;
}

/// The escape of the control character at `rest`, with the bytes that it takes there; no bytes when
/// it is none. The C1 controls are C2 80 to C2 9F in UTF-8.
std::pair<std::string, std::size_t> escapeControl(std::string_view rest) {
  const auto byte = static_cast<unsigned char>(rest[0]);
  if (byte == '\n') return {"\\n", 1};
  if (byte == '\r') return {"\\r", 1};
  if (byte == '\t') return {"\\t", 1};
  if (byte < 0x20 || byte == 0x7F) return {fmt::format("\\x{:02X}", byte), 1};
  const auto next = rest.size() > 1 ? static_cast<unsigned char>(rest[1]) : 0;
  if (byte == 0xC2 && next < 0xA0) return {fmt::format("\\u{:04X}", next), 2};
  return {};
}

std::string escapeControls(const std::string& message) {
  const Text valid(message);
  std::string escaped;
  escaped.reserve(valid.view().size());
  for (auto rest = valid.view(); !rest.empty();) {
    const auto [escape, length] = escapeControl(rest);
    escaped.append(length == 0 ? rest.substr(0, 1) : std::string_view(escape));
    rest.remove_prefix(length == 0 ? 1 : length);
  }
  return escaped;
}

}  // namespace

bool LogWriter::goesToTerminal() {
  static const bool isTerminal = isatty(STDERR_FILENO) == 1;
  return isTerminal;
}

void LogWriter::submit(LogLine line) { writer().add(std::move(line)); }

void LogWriter::flush() {
  if (auto* const current = running.load()) current->waitUntilWritten(std::chrono::seconds(2));
}

std::string LogWriter::format(const LogLine& line, std::chrono::system_clock::time_point time) {
  const auto seconds = std::chrono::floor<std::chrono::seconds>(time);
  const auto milliseconds = std::chrono::floor<std::chrono::milliseconds>(time - seconds).count();
  const std::time_t clock = std::chrono::system_clock::to_time_t(seconds);
  std::tm local{};
  localtime_r(&clock, &local);
  return fmt::format("{:02}:{:02}:{:02}.{:03} {}{}: {}\n", local.tm_hour, local.tm_min,
                     local.tm_sec, milliseconds, line.isError ? "error " : "", line.category,
                     escapeControls(line.message));
}

void LogWriter::add(LogLine line) {
  {
    const std::lock_guard lock(mutex_);
    const bool full = waiting_.size() >= mostWaitingLines ||
                      (!waiting_.empty() && waitingBytes_ + line.message.size() > mostWaitingBytes);
    if (full) {
      ++dropped_;
      return;
    }
    enqueue(std::move(line));
    start();
  }
  wake_.notify_one();
}

bool LogWriter::waitUntilWritten(std::chrono::milliseconds bound) {
  std::unique_lock lock(mutex_);
  const auto target = addedCount_;
  return written_.wait_for(lock, bound, [&] { return writtenCount_ >= target; });
}

void LogWriter::enqueue(LogLine line) {
  waitingBytes_ += line.message.size();
  ++addedCount_;
  waiting_.push_back({std::move(line), std::chrono::system_clock::now()});
}

void LogWriter::start() {
  if (started_) return;
  try {
    startSignalFreeThread("log", [this] { run(); }).detach();
    started_ = true;
  } catch (const std::system_error&) {
    // No thread to be had now: the next line tries again.
  }
}

void LogWriter::run() {
  std::unique_lock lock(mutex_);
  for (;;) {
    wake_.wait(lock, [this] { return !waiting_.empty(); });
    const Entry entry = std::move(waiting_.front());
    waiting_.pop_front();
    waitingBytes_ -= entry.line.message.size();
    lock.unlock();
    try {
      write(entry);
    } catch (const std::exception&) {
      // There is no memory for the line; the next ones may find some.
    }
    lock.lock();
    ++writtenCount_;
    if (dropped_ > 0 && waiting_.empty()) {
      const auto count = std::exchange(dropped_, 0);
      enqueue({true, "app", fmt::format("{} log lines were dropped", count)});
    }
    written_.notify_all();
  }
}

void LogWriter::write(const Entry& entry) const {
  if (target_ != Target::terminal && !entry.line.isError) return;
  if (target_ == Target::journal && writeToJournal(entry.line)) return;
  writeAll(descriptor_, format(entry.line, entry.time));
}

}  // namespace stowboard
