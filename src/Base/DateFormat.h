#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "Base/Timestamp.h"

namespace stowboard {

/// Writes moments by a pattern (UTS #35) with a locale's names, in the system's current time zone.
/// Making one costs much more than using it. One thread at a time.
class DateFormat {
 public:
  /// For instance "MMM d, HH:mm" and "en_US_POSIX". The locale is taken as given, whatever the
  /// system's is.
  DateFormat(std::string_view pattern, std::string_view localeIdentifier);
  ~DateFormat();
  DateFormat(DateFormat&&) noexcept;
  DateFormat& operator=(DateFormat&&) noexcept;

  /// UTF-8. Follows a change of the system's time zone.
  std::string format(Timestamp timestamp) const;

 private:
  struct Formatter;
  std::unique_ptr<Formatter> formatter_;
};

}  // namespace stowboard
