#include "Base/Unicode/Text.h"

#include <gmock/gmock.h>
#include <unicode/normalizer2.h>
#include <unicode/unistr.h>

#include <cstdlib>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "Base/Unicode/SearchQuery.h"
#include "Base/Unicode/SubstringPattern.h"
#include "Base/Unicode/Utf8.h"

namespace stowboard {
namespace {

std::string repeated(std::string_view part, std::size_t count) {
  std::string whole;
  for (std::size_t index = 0; index < count; ++index) whole += part;
  return whole;
}

struct SearchRow {
  const char* text;
  const char* query;
  bool isFound;
  const char* locale = "en_US";
};

TEST(TextSearch, FollowsCaseEquivalenceAndTheLocale) {
  const SearchRow rows[] = {
      {"the Quick fox", "  quICK\n", true},
      {"the Quick fox", "quick  fox", false},
      {"the Quick fox", "\u2003\u00A0\u2028", true},
      {"", "a", false},
      {"a{z", "A[Z", false},
      {"历史记录", "史记", true},
      {"历史记录", "录历", false},
      // Encodings of one letter, on either side, and letters that only look alike.
      {"un café", "CAFE\u0301", true},
      {"un CAFE\u0301", "café", true},
      {"un café", "cafe", false},
      {"un cafe\u0301", "cafe", false},
      {"cafe\u0301 cafe", "cafe", true},
      {"x\u0301", "x", false},
      {"x\u0301, x", "x", true},
      {"e\u0323\u0301", "e\u0301\u0323", true},
      {"\u212B", "å", true},
      {"Ｗide", "wide", false},
      {"Ｗide", "ｗIDE", true},
      // Letters whose fold is longer, and the iota that moves among marks.
      {"STRASSE", "straße", true},
      {"Straße", "SS", true},
      {"\u1FB4", "\u03B1\u0301\u0345", true},
      {"ΣΊΣΥΦΟΣ", "σίσυφος", true},
      // Marks that are letters' own parts do not set a match apart; voicing marks do.
      {"👍🏽", "👍", true},
      {"か\u3099", "が", true},
      {"か\u3099", "か", false},
      {"각", "가", false},
      {"\u1100\u1161\u11A8", "각", true},
      // Turkish and Azerbaijani.
      {"TITLE", "title", true},
      {"TITLE", "title", false, "tr_TR.UTF-8"},
      {"TITLE", "tıtle", true, "tr"},
      {"tıtle, çay", "TITLE", true, "az-Latn"},
      {"title", "TITLE", false, "tr"},
      {"İSTANBUL", "istanbul", true, "tr"},
      {"I\u0307STANBUL", "istanbul", true, "tr"},
      {"I\u0323\u0307", "i\u0323", true, "tr"},
      {"MİLLÎ", "millî", true, "tr"},
      {"MİLLI\u0302", "millî", true, "tr"},
      {"İstanbul", "istanbul", false},
      {"İstanbul", "i\u0307stanbul", true},
      {"EXIT", "ex", true, "tr"},
      // Lithuanian keeps the dot below accents, and only there.
      {"I\u0300 J\u0303 Į\u0301", "i\u0307\u0300 j\u0307\u0303 į\u0307\u0301", true, "lt_LT"},
      {"i\u0307\u0300", "Ì", true, "lt"},
      {"i\u0307\u0300", "Ì", false},
      {"i\u0307 x", "i x", false, "lt"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.text << " / " << row.query << " / " << row.locale);
    const SearchQuery query(row.query, row.locale);
    const Text text(row.text);
    EXPECT_EQ(text.contains(query), row.isFound);
    EXPECT_EQ(text.contains(query), row.isFound) << "with the form that the first search kept";
    // The same beyond the first vector of the search, and beyond what validation sees at a glance.
    const Text longer(repeated("0123456789", 20) + row.text + repeated("，", 20));
    EXPECT_EQ(longer.contains(query), row.isFound);
  }
}

TEST(TextSearch, OneTextServesQueriesOfSeveralLocales) {
  const Text text("IĞDIR straße");
  for (int round = 0; round < 2; ++round) {
    EXPECT_TRUE(text.contains(SearchQuery("ığdır", "tr")));
    EXPECT_TRUE(text.contains(SearchQuery("iğdir STRASSE", "en")));
    EXPECT_TRUE(text.contains(SearchQuery("iğdir STRASSE", "lt")));
    EXPECT_FALSE(text.contains(SearchQuery("iğdir", "tr")));
  }
}

TEST(TextSearch, TakesTheLocaleFromTheEnvironment) {
  struct Row {
    const char *all, *ctype, *lang;
    bool isTurkish;
  };
  const Text text("TITLE");
  for (const Row& row : {Row{"", "", "tr_TR.UTF-8", true}, Row{"", "en_US", "tr_TR", false},
                         Row{"tr_TR@x", "en_US", "C", true}, Row{"C", "tr", "tr", false}}) {
    setenv("LC_ALL", row.all, 1);
    setenv("LC_CTYPE", row.ctype, 1);
    setenv("LANG", row.lang, 1);
    EXPECT_EQ(text.contains(SearchQuery("title")), !row.isTurkish) << row.all << row.ctype;
  }
  for (const char* const name : {"LC_ALL", "LC_CTYPE", "LANG"}) unsetenv(name);
}

TEST(TextSearch, ThreadsMayPrepareAndSearchOneTextAtOnce) {
  const Text text(repeated("Große ÉTÉ e\u0301 ", 2000));
  std::vector<std::thread> threads;
  for (int index = 0; index < 4; ++index) {
    threads.emplace_back([&text, index] {
      const char* const locale = index % 2 == 0 ? "en" : "tr";
      if (index < 2) text.prepareForSearch(locale);
      EXPECT_TRUE(text.contains(SearchQuery("GROSSE été é", locale)));
    });
  }
  for (auto& thread : threads) thread.join();
}

TEST(SubstringPattern, FindsTheFirstPlaceAtEveryDistanceFromABlocksEdge) {
  for (const std::string needle : {"x", "xy", "needle", "aaab", "aaba"}) {
    const SubstringPattern pattern(needle);
    for (std::size_t before = 0; before < 140; ++before) {
      auto text = std::string(before, 'a') + needle + std::string(before % 70, 'a') + needle;
      const auto expected = text.find(needle);
      text[expected] = static_cast<char>(std::toupper(text[expected]));
      EXPECT_EQ(pattern.findIn(text), expected);
      EXPECT_EQ(pattern.findIn(text, expected + 1), text.find(needle, expected + 1));
    }
  }
}

TEST(TextEquality, IsCanonicalEquivalence) {
  struct Row {
    std::string left, right;
    bool areEqual;
  };
  const auto filler = repeated("长文本 text ", 1000);
  const Row rows[] = {
      {"", "", true},
      {"a", "", false},
      {"café", "cafe\u0301", true},
      {"café", "cafe", false},
      {"café", "CAFÉ", false},
      {"e\u0323\u0301", "e\u0301\u0323", true},
      {"e\u0300\u0301", "e\u0301\u0300", false},
      {"각", "\u1100\u1161\u11A8", true},
      {"\u212B ﬁ", "Å ﬁ", true},
      {"ﬁ", "fi", false},
      // A letter that is always taken apart, into two that both stand alone.
      {"\u0F43", "\u0F42\u0FB7", true},
      {"\u0F43x", "\u0F42\u0FB7y", false},
      {filler + "é" + filler, filler + "e\u0301" + filler, true},
      {filler + "é" + filler + "1", filler + "e\u0301" + filler + "2", false},
      {filler + "e", filler + "e\u0301", false},
      {"a\u0301b", "áb\u0301", false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.left.substr(0, 40) << " / " << row.right.substr(0, 40));
    EXPECT_EQ(Text(row.left) == Text(row.right), row.areEqual);
    EXPECT_EQ(Text(row.right) == Text(row.left), row.areEqual);
  }
}

TEST(TextEquality, AgreesWithNormalisingTheWhole) {
  const char32_t letters[] = {U'e',   U'é',   0x301,  0x323, 0x302, 0x1EC7, 0x1100, 0x1161,
                              0xAC00, 0xAC01, 0x11A8, 0xF43, 0xF42, 0xFB7,  U'x'};
  UErrorCode status = U_ZERO_ERROR;
  const auto* nfd = icu::Normalizer2::getNFDInstance(status);
  std::mt19937 random(20);
  int equalPairs = 0;
  for (int round = 0; round < 20000; ++round) {
    std::string sides[2];
    icu::UnicodeString normalised[2];
    for (int side = 0; side < 2; ++side) {
      for (auto length = random() % 5; length > 0; --length) {
        appendUtf8(sides[side], letters[random() % std::size(letters)]);
      }
      if (side == 1 && random() % 2 == 0) normalised[0].toUTF8String(sides[1] = "");
      if (side == 1 && random() % 4 == 0) sides[1] += "\u0301";
      normalised[side] = nfd->normalize(icu::UnicodeString::fromUTF8(sides[side]), status);
    }
    const bool expected = normalised[0] == normalised[1];
    equalPairs += expected && sides[0] != sides[1];
    ASSERT_EQ(Text(sides[0]) == Text(sides[1]), expected) << sides[0] << " / " << sides[1];
  }
  EXPECT_GT(equalPairs, 1000);
}

TEST(TextFolding, CopiesAndMapsOnlyWhereIcuWouldDoTheSame) {
  const auto locales = {CaseLocale::root, CaseLocale::turkic, CaseLocale::lithuanian};
  for (char32_t codePoint = 1; codePoint <= 0x10FFFF; ++codePoint) {
    if (U_IS_SURROGATE(codePoint) || (codePoint >= 0xA0000 && codePoint < 0xE0000)) continue;
    std::string utf8 = "i";
    appendUtf8(utf8, codePoint);
    const auto utf16 = icu::UnicodeString::fromUTF8(utf8);
    for (const auto locale : locales) {
      std::string expected;
      foldSegment(utf16, locale).toUTF8String(expected);
      ASSERT_EQ(foldCase(utf8, locale), expected) << std::hex << std::uint32_t(codePoint);
    }
  }
}

TEST(TextPrefix, CountsUserPerceivedCharacters) {
  struct Row {
    std::string text;
    std::size_t count;
    std::string expected;
  };
  const std::string family = "👨‍👩‍👧‍👦";
  const auto sixty = repeated("a", 60);
  const Row rows[] = {
      {"", 60, ""},
      {"abc", 0, ""},
      {sixty, 60, sixty},
      {sixty + "b", 60, sixty},
      {sixty + "\u0301b", 60, sixty + "\u0301"},
      {repeated(family, 61), 60, repeated(family, 60)},
      {"a\r\nb", 2, "a\r\n"},
      {"\t  x", 3, "\t  "},
      {"🇩🇪🇫🇷x", 1, "🇩🇪"},
      {"각\u1100\u1161x", 2, "각\u1100\u1161"},
      {repeated("长", 1000000), 60, repeated("长", 60)},
      {"short é", 60, "short é"},
  };
  for (const auto& row : rows) EXPECT_EQ(Text(row.text).prefix(row.count), row.expected);
}

TEST(TextUtf8, SharesTheBytesOrRefusesThem) {
  const Bytes bytes("é历史");
  const auto text = Text::fromUtf8(bytes);
  ASSERT_TRUE(text);
  EXPECT_TRUE(text->bytes().sharesStorageWith(bytes));
  EXPECT_TRUE(Text::fromUtf8(Bytes()));
  for (const char* const bad :
       {"\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80", "a\x80", "\xE4\xB8"}) {
    EXPECT_FALSE(Text::fromUtf8(Bytes(bad)));
  }
}

TEST(TextUtf8, ReplacesMaximalSubparts) {
  // Unicode 3.9, tables 3-8 to 3-11.
  EXPECT_EQ(Text("\xC0\xAF\xE0\x80\xBF\xF0\x81\x82\x41").view(), repeated("\uFFFD", 8) + "A");
  EXPECT_EQ(Text("\xED\xA0\x80\xED\xBF\xBF\xED\xAF\x41").view(), repeated("\uFFFD", 8) + "A");
  EXPECT_EQ(Text("\xE1\x80\xE2\xF0\x91\x92\xF1\xBF\x41").view(), repeated("\uFFFD", 4) + "A");
}

/// The traits and the well-formedness of a text, letter by letter.
Utf8Scan scanSlowly(std::string_view bytes) {
  Utf8Scan scan;
  for (std::int32_t place = 0; place < static_cast<std::int32_t>(bytes.size());) {
    UChar32 codePoint;
// ICU's macro narrows.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
    U8_NEXT(bytes.data(), place, static_cast<std::int32_t>(bytes.size()), codePoint);
#pragma GCC diagnostic pop
    if (codePoint < 0) break;
    scan.trait = std::max(scan.trait, traitOf(static_cast<char32_t>(codePoint)));
    scan.validLength = static_cast<std::size_t>(place);
  }
  return scan;
}

TEST(TextUtf8, ClassifiesEveryCodePointAlikeAtAGlanceAndCloselyLooked) {
  // Behind a plain, a cased and a complex letter, since each makes other letters familiar.
  for (const std::string_view known : {"", "É", "\u0301"}) {
    for (char32_t codePoint = 1; codePoint < 0x20000; ++codePoint) {
      if (U_IS_SURROGATE(codePoint)) continue;
      auto utf8 = std::string(known) + std::string(32, ' ');
      appendUtf8(utf8, codePoint);
      utf8.append(32, ' ');
      const auto scan = scanUtf8(utf8);
      ASSERT_EQ(scan.validLength, utf8.size()) << std::hex << std::uint32_t(codePoint);
      ASSERT_EQ(scan.trait, scanSlowly(utf8).trait) << std::hex << std::uint32_t(codePoint);
    }
  }
}

TEST(TextUtf8, FindsEveryDamageToMixedText) {
  const std::string_view parts[] = {"a",  "é", "\u0301", "历",     "，",
                                    "😀", "É", "\uD7FF", "\uE000", "ascii text in between"};
  const unsigned char damage[] = {0x80, 0xBF, 0xC0, 0xC2, 0xE0, 0xE4, 0xED,
                                  0xEF, 0xF0, 0xF4, 0xF8, 0xFF, 'a'};
  std::mt19937 random(8);
  for (int round = 0; round < 30000; ++round) {
    std::string text;
    while (text.size() < 120) text += parts[random() % std::size(parts)];
    for (auto count = random() % 3; count > 0; --count) {
      text[random() % text.size()] = static_cast<char>(damage[random() % std::size(damage)]);
    }
    text.resize(text.size() - random() % 4);
    const auto scan = scanUtf8(text);
    const auto expected = scanSlowly(text);
    ASSERT_EQ(scan.validLength, expected.validLength) << testing::PrintToString(text);
    ASSERT_EQ(scan.trait, expected.trait) << testing::PrintToString(text);
  }
}

}  // namespace
}  // namespace stowboard
