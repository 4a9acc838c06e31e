#include <gmock/gmock.h>

#include "Platform/Clipboard/SecretMemory.h"
#include "Platform/Clipboard/TargetPolicy.h"
#include "Platform/Clipboard/TextEncoding.h"
#include "Platform/Clipboard/TransferBuffer.h"

namespace stowboard {
namespace {

using testing::ElementsAre;

TEST(TargetPolicy, TrustsTargetsInTheirOrderWhateverTheirSpelling) {
  const auto plan = planForTargets({"TARGETS", "COMPOUND_TEXT", "STRING", "Text/Plain", "text/html",
                                    "text/plain; charset=UTF-8", "UTF8_STRING", "text/richtext",
                                    "text/rtf", "image/bmp", "image/png", "image/tiff"});
  EXPECT_THAT(plan.texts, ElementsAre("UTF8_STRING", "text/plain; charset=UTF-8", "Text/Plain",
                                      "STRING", "COMPOUND_TEXT"));
  EXPECT_THAT(plan.richTexts, ElementsAre("text/rtf", "text/richtext"));
  EXPECT_THAT(plan.images, ElementsAre("image/tiff", "image/png"));
}

TEST(TargetPolicy, OtherImageFormatsCountOnlyWithoutTiffAndPng) {
  const auto plan = planForTargets({"image/gif", "image/svg+xml", "image/jpeg", "UTF8_STRING"});
  EXPECT_THAT(plan.images, ElementsAre("image/jpeg", "image/gif"));
  EXPECT_THAT(*plan.types, ElementsAre("image/png", "text/plain", "image/gif", "image/svg+xml",
                                       "image/jpeg", "UTF8_STRING"));
  for (const char* marker : {"x-kde-passwordManagerHint", "x-kde-passwordmanagerhint"}) {
    EXPECT_TRUE(planForTargets({marker, "UTF8_STRING"}).isSecret);
  }
}

TEST(CompoundText, DecodesTheCommonSets) {
  const struct {
    std::string compound;
    std::optional<std::string> utf8;
  } rows[] = {
      {"plain\ttext\n", "plain\ttext\n"},
      {"caf\xe9 \x1b-B\xb1\x1b-A\xb1", "café ą±"},
      {"\x1b-F\xe1 \x1b-L\xd0\xd1\x1b(B!", "α аб!"},
      {"\x1b$(B\x24\x22\x1b(B ok \x1b$)A\xb0\xa1", "あ ok 啊"},
      {"\x1b%G→ \xc3\xa9\x1b%@ \xe9", "→ é é"},
      {"\x1b%/1\x80\x89iso8859-14\x02z", std::nullopt},
      {"\x1b%G\xe9\x1b%@", std::nullopt},
      {"\x1b%Gnever ends", std::nullopt},
      {"\x1b$(B\x24", std::nullopt},
      {"\x1b", std::nullopt},
  };
  for (const auto& row : rows)
    EXPECT_EQ(compoundTextToUtf8(row.compound), row.utf8) << row.compound;
}

TEST(SecretMemory, KnowsItsTextFromEveryOtherUntilOneComes) {
  const std::string secret = "correct horse battery";
  SecretMemory memory;
  for (std::size_t place = 0; place <= secret.size(); ++place) {
    auto other = secret;
    if (place < secret.size()) {
      other[place] ^= 1;
    } else {
      other += '!';
    }
    memory.remember(secret, 5);
    EXPECT_FALSE(memory.knows(other, 4)) << "what came before it does not matter";
    EXPECT_TRUE(memory.knows(secret + '\0', 6));
    EXPECT_FALSE(memory.knows(other, 7)) << other;
    EXPECT_FALSE(memory.knows(secret, 8));
  }
}

TEST(TransferBuffer, JoinsPiecesOfAnySizeAndKeepsItsBound) {
  // Odd sizes, so that pieces straddle the borders of the blocks inside.
  std::string whole;
  const auto budget = std::make_shared<ByteBudget>(std::size_t{20} << 20);
  TransferBuffer buffer(std::size_t{12} << 20, std::make_shared<ByteShare>(budget));
  for (std::size_t size = 777'777; whole.size() + size <= std::size_t{12} << 20;) {
    const std::string piece(size, static_cast<char>('a' + whole.size() % 26));
    ASSERT_TRUE(buffer.append(piece));
    whole += piece;
  }
  EXPECT_FALSE(buffer.append(std::string(777'777, 'x')));
  EXPECT_EQ(buffer.size(), whole.size());
  {
    // Several have a bound together, too.
    TransferBuffer other(std::size_t{12} << 20, std::make_shared<ByteShare>(budget));
    EXPECT_TRUE(other.append(std::string(std::size_t{8} << 20, 'x')));
    EXPECT_FALSE(other.append(std::string(std::size_t{1} << 20, 'x')));
  }
  EXPECT_EQ(budget->used(), whole.size());
  EXPECT_TRUE(buffer.take() == whole);
}

}  // namespace
}  // namespace stowboard
