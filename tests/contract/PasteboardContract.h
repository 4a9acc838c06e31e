#pragma once

#include <gmock/gmock.h>

#include <map>
#include <string>
#include <vector>

#include "Platform/Pasteboard.h"

namespace stowboard {

/// What every Pasteboard must do. `Driver` is default-constructible and has
///   Pasteboard& pasteboard();
///   void copy(std::map<std::string, std::string, std::less<>>);  // another program's copy, by
///   type void endOwner();                       // the program that copied last ends
/// and returns from both when the pasteboard has taken notice.
template <typename Driver>
class PasteboardContract : public testing::Test {
 protected:
  Pasteboard& pasteboard() { return driver.pasteboard(); }

  static std::string type(std::string_view name) { return std::string(name); }

  Driver driver;
};

TYPED_TEST_SUITE_P(PasteboardContract);

TYPED_TEST_P(PasteboardContract, OffersEveryTypeOfACopyAndNoOther) {
  using testing::Contains;
  this->driver.copy({{this->type(PasteboardType::rtf), "{\\rtf1 é}"},
                     {this->type(PasteboardType::string), "Grüße"}});
  auto& pasteboard = this->pasteboard();
  ASSERT_TRUE(pasteboard.types());
  EXPECT_THAT(*pasteboard.types(), Contains(PasteboardType::rtf));
  EXPECT_THAT(*pasteboard.types(), Contains(PasteboardType::string));
  EXPECT_EQ(pasteboard.data(PasteboardType::rtf), Bytes("{\\rtf1 é}"));
  EXPECT_EQ(pasteboard.data(PasteboardType::string), Bytes("Grüße"));
  EXPECT_EQ(pasteboard.string(PasteboardType::string), Text("Grüße"));
  EXPECT_EQ(pasteboard.data(PasteboardType::png), std::nullopt);
  EXPECT_EQ(pasteboard.data("application/unheard-of"), std::nullopt);
}

TYPED_TEST_P(PasteboardContract, ACopyReplacesTheOneBeforeAndRaisesTheCount) {
  this->driver.copy({{this->type(PasteboardType::rtf), "{\\rtf1}"}});
  const auto count = this->pasteboard().changeCount();
  this->driver.copy({{this->type(PasteboardType::string), ""}});
  EXPECT_GT(this->pasteboard().changeCount(), count);
  EXPECT_EQ(this->pasteboard().data(PasteboardType::rtf), std::nullopt);
  // An empty text is on offer all the same.
  EXPECT_EQ(this->pasteboard().string(PasteboardType::string), Text());
}

TYPED_TEST_P(PasteboardContract, AnnouncesAMoveOnceWithTheNewContentInPlace) {
  if (!this->pasteboard().announcesMoves()) return;  // then there is nothing to hold
  std::vector<Text> seen;
  std::int64_t count = this->pasteboard().changeCount();
  this->pasteboard().onMoved = [&] {
    EXPECT_GT(this->pasteboard().changeCount(), count);
    count = this->pasteboard().changeCount();
    seen.push_back(this->pasteboard().string(PasteboardType::string).value_or(Text("none")));
  };
  this->driver.copy({{this->type(PasteboardType::string), "first"}});
  this->driver.copy({{this->type(PasteboardType::string), "second"}});
  EXPECT_THAT(seen, testing::ElementsAre(Text("first"), Text("second")));
}

TYPED_TEST_P(PasteboardContract, ContentSurvivesTheEndOfItsOwner) {
  this->driver.copy({{this->type(PasteboardType::string), "kept"}});
  const auto count = this->pasteboard().changeCount();
  this->driver.endOwner();
  EXPECT_EQ(this->pasteboard().changeCount(), count);
  EXPECT_EQ(this->pasteboard().string(PasteboardType::string), Text("kept"));
}

TYPED_TEST_P(PasteboardContract, AnswersWithWhatWasWrittenAndNothingFromBefore) {
  using testing::ElementsAre;
  this->driver.copy({{this->type(PasteboardType::string), "before"}});
  auto& pasteboard = this->pasteboard();
  int moves = 0;
  pasteboard.onMoved = [&moves] { ++moves; };
  const auto count = pasteboard.changeCount();
  pasteboard.clearContents();
  EXPECT_GT(pasteboard.changeCount(), count);
  EXPECT_THAT(*pasteboard.types(), ElementsAre());
  EXPECT_EQ(pasteboard.string(PasteboardType::string), std::nullopt);
  pasteboard.setData(Bytes("{\\rtf1}"), PasteboardType::rtf);
  pasteboard.setString(Text("written"), PasteboardType::string);
  EXPECT_THAT(*pasteboard.types(),
              testing::UnorderedElementsAre(PasteboardType::rtf, PasteboardType::string));
  EXPECT_EQ(pasteboard.data(PasteboardType::rtf), Bytes("{\\rtf1}"));
  EXPECT_EQ(pasteboard.string(PasteboardType::string), Text("written"));
  EXPECT_EQ(pasteboard.data(PasteboardType::string), Bytes("written"));
  // Only the next copy is news, and it ends the writing.
  this->driver.copy({{this->type(PasteboardType::string), "after"}});
  pasteboard.setString(Text("too late"), PasteboardType::string);
  EXPECT_EQ(pasteboard.string(PasteboardType::string), Text("after"));
  EXPECT_EQ(moves, pasteboard.announcesMoves() ? 1 : 0);
}

REGISTER_TYPED_TEST_SUITE_P(PasteboardContract, OffersEveryTypeOfACopyAndNoOther,
                            ACopyReplacesTheOneBeforeAndRaisesTheCount,
                            AnnouncesAMoveOnceWithTheNewContentInPlace,
                            ContentSurvivesTheEndOfItsOwner,
                            AnswersWithWhatWasWrittenAndNothingFromBefore);

}  // namespace stowboard
