#include "Base/DateFormat.h"

#include <gtest/gtest.h>
#include <stdlib.h>

namespace stowboard {
namespace {

// 2025-03-05 14:07:00 UTC.
constexpr Timestamp afternoon{1741183620 - Timestamp::referenceDateUnixSeconds};

TEST(DateFormatTest, UsesItsOwnLocaleAndTheSystemsZoneOfTheMoment) {
  const DateFormat english("MMM d, HH:mm", "en_US_POSIX");
  const DateFormat chinese("M月d日 HH:mm", "zh_CN");
  ::setenv("TZ", "UTC", 1);
  EXPECT_EQ(english.format(afternoon), "Mar 5, 14:07");
  EXPECT_EQ(chinese.format(afternoon), "3月5日 14:07");
  ::setenv("TZ", "America/New_York", 1);
  EXPECT_EQ(english.format(afternoon), "Mar 5, 09:07");
  // The summer's offset, not today's.
  EXPECT_EQ(english.format({afternoon.secondsSinceReferenceDate + 120 * 86400}), "Jul 3, 10:07");
  ::unsetenv("TZ");
}

TEST(DateFormatTest, FormatsMomentsBeforeTheEpochAndFractionsOfASecond) {
  ::setenv("TZ", "UTC", 1);
  const DateFormat format("yyyyMMdd HHmm", "en_US_POSIX");
  EXPECT_EQ(format.format({-Timestamp::referenceDateUnixSeconds - 60.5}), "19691231 2358");
  EXPECT_EQ(format.format({afternoon.secondsSinceReferenceDate + 59.999}), "20250305 1407");
  ::unsetenv("TZ");
}

}  // namespace
}  // namespace stowboard
