#include "Base/Log.h"

#include <atomic>
#include <memory>
#include <mutex>

#include "Base/LogWriter.h"

namespace stowboard {

constinit const Logger Log::app("app");
constinit const Logger Log::storage("storage");
constinit const Logger Log::clipboard("clipboard");
constinit const Logger Log::hotKey("hotkey");
constinit const Logger Log::paste("paste");
constinit const Logger Log::ui("ui");
constinit const Logger Log::settings("settings");

namespace {

struct Observer {
  std::atomic<bool> present = false;
  std::mutex mutex;
  std::function<void(const Log::Line&)> receive;
};

Observer& currentObserver() {
  static Observer instance;
  return instance;
}

/// False when nobody observes.
bool observe(const Log::Line& line) {
  auto& current = currentObserver();
  if (!current.present) return false;
  // Called under the lock, so that none is running once its observation has ended.
  const std::lock_guard lock(current.mutex);
  if (!current.receive) return false;
  current.receive(line);
  return true;
}

}  // namespace

bool Logger::infoIsWanted() { return currentObserver().present || LogWriter::goesToTerminal(); }

void Logger::write(Level level, std::string message) const {
  Log::Line line{level == Level::error, category_, std::move(message)};
  if (!observe(line)) LogWriter::submit(std::move(line));
}

void Log::flush() { LogWriter::flush(); }

Log::Observation::Observation(std::function<void(const Line&)> observer) {
  auto& current = currentObserver();
  const std::lock_guard lock(current.mutex);
  current.receive = std::move(observer);
  current.present = true;
}

Log::Observation::~Observation() {
  auto& current = currentObserver();
  const std::lock_guard lock(current.mutex);
  current.present = false;
  current.receive = nullptr;
}

}  // namespace stowboard
