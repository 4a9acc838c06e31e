#pragma once

#include <functional>

namespace stowboard {

/// Runs `work` on another thread and then `finish` on the caller's own, in the order of the calls.
/// Neither runs once the caller's thread has ended.
using Background = std::function<void(std::function<void()> work, std::function<void()> finish)>;

}  // namespace stowboard
