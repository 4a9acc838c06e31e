#pragma once

#include <gmock/gmock.h>

#include <optional>
#include <string>
#include <vector>

#include "Platform/StatusItem.h"

namespace stowboard {

/// What every StatusItem has to hold. A Harness has a panel; item(); menu(), the titles that the
/// panel shows, absent while it shows no icon; click(), which waits for its effect; choose(title);
/// and turnUntil(condition).
template <typename Harness>
class StatusItemContract : public ::testing::Test {
 protected:
  StatusItem::Content content() {
    return {[](int size) {
              return StatusItem::Picture{size, size, std::vector<std::uint32_t>(size * size)};
            },
            [this]() -> StatusMenu {
              return {{title, "", [this] { chosen += 1; }}, {}, {"Version_1 & more", "", nullptr}};
            },
            [this](const StatusItem::Rectangle&) { clicks += 1; }};
  }
  bool shows(const std::vector<std::string>& titles) {
    return harness_.turnUntil([&] { return harness_.menu() == std::optional(titles); });
  }

  std::string title = "Help";
  int chosen = 0;
  int clicks = 0;
  // Ends before what its content refers to.
  Harness harness_;
};

TYPED_TEST_SUITE_P(StatusItemContract);

TYPED_TEST_P(StatusItemContract, ShowsTheMenuOfTheMomentUntilItIsHidden) {
  this->harness_.item().menuDidChange();
  EXPECT_EQ(this->harness_.menu(), std::nullopt);
  this->harness_.item().show(this->content());
  EXPECT_TRUE(this->shows({"Help", "", "Version_1 & more"}));
  this->title = "帮助";
  this->harness_.item().menuDidChange();
  EXPECT_TRUE(this->shows({"帮助", "", "Version_1 & more"}));
  this->harness_.item().hide();
  EXPECT_TRUE(this->harness_.turnUntil([&] { return !this->harness_.menu(); }));
  this->harness_.item().show(this->content());
  EXPECT_TRUE(this->shows({"帮助", "", "Version_1 & more"}));
}

TYPED_TEST_P(StatusItemContract, TellsOfAClickAndOfAChoiceThatCanBeMade) {
  auto& harness = this->harness_;
  harness.item().show(this->content());
  ASSERT_TRUE(this->shows({"Help", "", "Version_1 & more"}));
  harness.click();
  EXPECT_EQ(this->clicks, 1);
  EXPECT_EQ(this->chosen, 0);
  harness.choose("Version_1 & more");
  harness.choose("");
  harness.choose("Help");
  EXPECT_TRUE(harness.turnUntil([&] { return this->chosen == 1; }));
  EXPECT_EQ(this->clicks, 1);
}

REGISTER_TYPED_TEST_SUITE_P(StatusItemContract, ShowsTheMenuOfTheMomentUntilItIsHidden,
                            TellsOfAClickAndOfAChoiceThatCanBeMade);

}  // namespace stowboard
