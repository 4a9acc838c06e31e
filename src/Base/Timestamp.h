#pragma once

#include <chrono>

namespace stowboard {

/// A moment, in (fractional) seconds since 2001-01-01 00:00:00 UTC: the form that the history file
/// keeps. Double precision, so about a tenth of a microsecond today.
struct Timestamp {
  double secondsSinceReferenceDate = 0;

  /// Seconds from the Unix epoch to the reference date.
  static constexpr double referenceDateUnixSeconds = 978307200.0;

  static Timestamp now() { return fromSystemTime(std::chrono::system_clock::now()); }
  static Timestamp fromSystemTime(std::chrono::system_clock::time_point time) {
    const std::chrono::duration<double> sinceEpoch = time.time_since_epoch();
    return {sinceEpoch.count() - referenceDateUnixSeconds};
  }

  friend bool operator==(const Timestamp&, const Timestamp&) = default;
};

}  // namespace stowboard
