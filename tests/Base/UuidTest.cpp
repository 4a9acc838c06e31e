#include "Base/Uuid.h"

#include <gmock/gmock.h>

#include <string>

namespace stowboard {
namespace {

TEST(Uuid, RandomOnesAreVersion4AndReadBack) {
  const auto uuid = Uuid::random();
  const auto text = uuid.toString();
  EXPECT_THAT(text, testing::MatchesRegex("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-"
                                          "[0-9A-F]{12}"));
  EXPECT_EQ(Uuid::fromString(text), uuid);
  EXPECT_NE(Uuid::random(), uuid);
}

TEST(Uuid, ReadsEitherCaseAndNothingElse) {
  EXPECT_EQ(Uuid::fromString("6ba7b810-9dad-11d1-80b4-00c04fd430c8")->toString(),
            "6BA7B810-9DAD-11D1-80B4-00C04FD430C8");
  for (const char* const bad :
       {"", "6ba7b8109dad11d180b400c04fd430c8", "6ba7b810-9dad-11d1-80b4-00c04fd430c",
        "6ba7b810-9dad-11d1-80b4-00c04fd430cg", "6ba7b810-9dad-11d1-80b40-0c04fd430c8",
        "{6ba7b810-9dad-11d1-80b4-00c04fd430c8}", "-ba7b810-9dad-11d1-80b4-00c04fd430c8"}) {
    EXPECT_FALSE(Uuid::fromString(bad)) << bad;
  }
}

}  // namespace
}  // namespace stowboard
