#pragma once

#include <exception>
#include <string_view>

#include "Base/Log.h"

namespace stowboard {

/// Runs the operation; false when it threw, which the log tells where there is memory left for
/// that. For what must go on whatever becomes of one task.
template <typename Operation>
bool survives(const Logger& log, std::string_view label, const Operation& operation) noexcept {
  try {
    try {
      operation();
      return true;
    } catch (const std::exception& error) {
      log.error("A task of {} failed: {}", label, error.what());
    } catch (...) {
      log.error("A task of {} failed", label);
    }
  } catch (...) {
    // There is no memory even to tell of it.
  }
  return false;
}

}  // namespace stowboard
