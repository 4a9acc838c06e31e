#pragma once

#include <algorithm>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "Base/Log.h"

namespace stowboard {

/// Collects what is logged while it lives, from any thread, as "error storage: Failed …" and
/// "info storage: …". One at a time.
class LogCapture {
 public:
  LogCapture() : observation_([this](const Log::Line& line) { add(line); }) {}

  std::vector<std::string> lines() const { return matching(""); }
  std::vector<std::string> errors() const { return matching("error "); }
  /// The error lines of one category, such as "storage".
  std::vector<std::string> errors(std::string_view category) const {
    return matching("error " + std::string(category) + ": ");
  }
  std::vector<std::string> infos(std::string_view category) const {
    return matching("info " + std::string(category) + ": ");
  }

  void clear() {
    const std::lock_guard lock(mutex_);
    lines_.clear();
  }

 private:
  void add(const Log::Line& line) {
    const std::lock_guard lock(mutex_);
    lines_.push_back((line.isError ? "error " : "info ") + line.category + ": " + line.message);
  }

  std::vector<std::string> matching(std::string_view start) const {
    const std::lock_guard lock(mutex_);
    std::vector<std::string> found;
    std::ranges::copy_if(lines_, std::back_inserter(found),
                         [&](const std::string& line) { return line.starts_with(start); });
    return found;
  }

  mutable std::mutex mutex_;
  std::vector<std::string> lines_;
  // Last, so that it ends before what it writes to.
  Log::Observation observation_;
};

}  // namespace stowboard
