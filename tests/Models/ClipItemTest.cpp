#include "Models/ClipItem.h"

#include <gtest/gtest.h>

#include "fakes/Clips.h"

namespace stowboard {
namespace {

std::string repeated(std::string_view text, int count) {
  std::string all;
  while (count-- > 0) all += text;
  return all;
}

TEST(ClipItemTest, contentIsTheSameByKindAndContentAlone) {
  struct Row {
    std::string_view name;
    ClipItem left;
    ClipItem right;
    bool isSame;
  };
  const ClipItem bareRtf(Uuid::random(), ClipType::rtf, Text("a"), {}, {}, Timestamp::now());
  const Row rows[] = {
      {"the same text copied twice", textClip("a"), textClip("a"), true},
      {"precomposed and decomposed é", textClip("caf\u00e9"), textClip("cafe\u0301"), true},
      {"two letters", textClip("a"), textClip("b"), false},
      {"upper and lower case", textClip("a"), textClip("A"), false},
      {"one text as two kinds", textClip("a"), bareRtf, false},
      {"a document present and absent", richTextClip("a", ""), bareRtf, false},
      {"one text of two documents", richTextClip("a", "x"), richTextClip("a", "y"), false},
      {"two images of the same bytes", imageClip("\xFF\xD8"), imageClip("\xFF\xD8"), true},
      {"two images", imageClip("\xFF\xD8"), imageClip("\xFF\xD9"), false},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(row.left.hasSameContent(row.right), row.isSame) << row.name;
    EXPECT_EQ(row.right.hasSameContent(row.left), row.isSame) << row.name;
    EXPECT_FALSE(row.left == row.right) << row.name;
  }
}

TEST(ClipItemTest, equalityTakesEveryField) {
  const ClipItem clip = textClip("a");
  const ClipItem rebuilt(clip.id(), clip.type(), clip.textContent(), {}, {}, clip.timestamp());
  const ClipItem later(clip.id(), clip.type(), clip.textContent(), {}, {},
                       {clip.timestamp().secondsSinceReferenceDate + 1});
  const ClipItem other(Uuid::random(), clip.type(), clip.textContent(), {}, {}, clip.timestamp());
  EXPECT_TRUE(clip == rebuilt);
  EXPECT_FALSE(clip == later);
  EXPECT_FALSE(clip == other);
}

TEST(ClipItemTest, previewIsTheStartOfTheText) {
  const std::string family = "👨‍👩‍👧‍👦";
  const ClipItem imageWithText(Uuid::random(), ClipType::image, Text("a"), {}, {}, {});
  const ClipItem rtfAlone(Uuid::random(), ClipType::rtf, {}, Bytes("{\\rtf1}"), {}, {});
  const std::pair<ClipItem, std::string> rows[] = {
      {textClip(repeated("x", 60)), repeated("x", 60)},
      {textClip(repeated("x", 60) + "y"), repeated("x", 60)},
      {textClip(repeated(family, 61)), repeated(family, 60)},
      {textClip("\t first\nsecond "), "\t first\nsecond "},
      {rtfAlone, ""},
      {imageWithText, "[Image]"},
  };
  for (const auto& [clip, preview] : rows) EXPECT_EQ(clip.previewText(), preview);
}

}  // namespace
}  // namespace stowboard
