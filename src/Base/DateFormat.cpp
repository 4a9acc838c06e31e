#include "Base/DateFormat.h"

#include <unicode/smpdtfmt.h>

#include <cmath>
#include <ctime>
#include <utility>

namespace stowboard {

namespace {

icu::UnicodeString fromUtf8(std::string_view text) {
  return icu::UnicodeString::fromUTF8({text.data(), static_cast<std::int32_t>(text.size())});
}

// The C library looks at the system's zone again; ICU would keep the one of its first use.
double offsetFromUtc(double unixSeconds) {
  const auto time = static_cast<std::time_t>(std::floor(unixSeconds));
  ::tzset();
  std::tm local{};
  return ::localtime_r(&time, &local) == nullptr ? 0 : static_cast<double>(local.tm_gmtoff);
}

}  // namespace

struct DateFormat::Formatter {
  // Zone and calendar are fixed: the moments are moved instead.
  Formatter(std::string_view pattern, std::string_view localeIdentifier)
      : format(fromUtf8(pattern), icu::Locale(std::string(localeIdentifier).c_str()), status) {
    if (U_SUCCESS(status)) format.setTimeZone(*icu::TimeZone::getGMT());
  }
  UErrorCode status = U_ZERO_ERROR;
  icu::SimpleDateFormat format;
};

DateFormat::DateFormat(std::string_view pattern, std::string_view localeIdentifier)
    : formatter_(std::make_unique<Formatter>(pattern, localeIdentifier)) {}
DateFormat::~DateFormat() = default;
DateFormat::DateFormat(DateFormat&&) noexcept = default;
DateFormat& DateFormat::operator=(DateFormat&&) noexcept = default;

std::string DateFormat::format(Timestamp timestamp) const {
  std::string text;
  if (U_FAILURE(formatter_->status)) return text;
  const double seconds = timestamp.secondsSinceReferenceDate + Timestamp::referenceDateUnixSeconds;
  icu::UnicodeString formatted;
  formatter_->format.format((seconds + offsetFromUtc(seconds)) * 1000, formatted);
  formatted.toUTF8String(text);
  return text;
}

}  // namespace stowboard
