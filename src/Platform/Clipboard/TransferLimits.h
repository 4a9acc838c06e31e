#pragma once

#include <chrono>
#include <cstddef>

namespace stowboard {

using SteadyTime = std::chrono::steady_clock::time_point;

/// The bounds within which an owner has to hand its content over.
struct TransferLimits {
  /// From a request to any answer.
  std::chrono::milliseconds replyTimeout{5000};
  /// From one chunk of a transfer to the next.
  std::chrono::milliseconds chunkTimeout{5000};
  /// For all formats of one content together.
  std::chrono::milliseconds totalTimeout{60000};
  /// Of all formats of one content together.
  std::size_t maxBytes = std::size_t{512} << 20;
};

}  // namespace stowboard
