#include "Models/Json/JsonForm.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

#include "fakes/Clips.h"

namespace stowboard {
namespace {

using testing::HasSubstr;

constexpr std::string_view goodId = "E621E1F8-C36C-495A-93FC-0C247A3E6E5F";

// As other writers of the format do it: slashes escaped, keys in any order.
constexpr std::string_view foreignHistory =
    R"([{"textContent":"see https:\/\/example.org\/\u00e9 \ud83d\ude00\n","id":)"
    R"("E621E1F8-C36C-495A-93FC-0C247A3E6E5F","timestamp":785548800.123456,"type":"text"},)"
    R"({"timestamp":785548799,"type":"rtf","rtfData":"e1xydGYxXGFuc2kgYVwnZTl9\/\/8=","id":)"
    R"("0A1B2C3D-4E5F-4071-8293-A4B5C6D7E8F9","textContent":"aé"},)"
    R"({"id":"6BA7B810-9DAD-41D1-80B4-00C04FD430C8","imageData":"\/9j\/4AAQSkZJRg==",)"
    R"("type":"image","timestamp":7.8554879950000005e8}])";
constexpr std::string_view foreignSettings =
    R"({"pasteMode":"copyOnly","excludedBundleIds":["com.example.vault","org.example\/keys"],)"
    R"("hotKey":{"modifiers":2304,"keyCode":11},"maxRecords":200,"language":"zh-Hans",)"
    R"("directPasteModifiers":4096})";

template <typename Value>
std::string encoded(const Value& value) {
  std::string json;
  EXPECT_TRUE(encodeJson(value, [&](std::string_view chunk) { return (json += chunk, true); }));
  return json;
}

std::vector<ClipItem> clipsFrom(std::string_view json) {
  auto result = decodeHistory(json);
  if (const auto* error = std::get_if<DecodingError>(&result)) {
    ADD_FAILURE() << error->description << " in " << json.substr(0, 200);
    return {};
  }
  return std::get<std::vector<ClipItem>>(std::move(result));
}

template <typename Value>
std::string errorOf(const DecodingResult<Value>& result) {
  const auto* error = std::get_if<DecodingError>(&result);
  return error != nullptr ? error->description : "no error";
}

std::string clipWith(std::string_view members) {
  return R"({"id":"E621E1F8-C36C-495A-93FC-0C247A3E6E5F","type":"text","timestamp":1)" +
         std::string(members) + "}";
}
std::string historyWith(std::string_view members) { return "[" + clipWith(members) + "]"; }

std::string nested(std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); }

TEST(HistoryJsonTest, readsWhatOtherWritersWrote) {
  const std::vector<ClipItem> clips = clipsFrom(foreignHistory);
  ASSERT_EQ(clips.size(), 3U);
  EXPECT_EQ(clips[0].id().toString(), goodId);
  EXPECT_EQ(clips[0].textContent()->view(), "see https://example.org/é 😀\n");
  EXPECT_EQ(clips[0].timestamp().secondsSinceReferenceDate, 785548800.123456);
  EXPECT_EQ(clips[1].type(), ClipType::rtf);
  EXPECT_EQ(clips[1].rtfData()->view(), "{\\rtf1\\ansi a\\'e9}\xFF\xFF");
  EXPECT_EQ(clips[2].imageData()->view(), std::string_view("\xFF\xD8\xFF\xE0\0\x10JFIF", 10));
  EXPECT_EQ(clips[2].timestamp().secondsSinceReferenceDate, 785548799.50000005);
}

TEST(HistoryJsonTest, takesEveryFormThatTheFormatAllows) {
  const std::string decomposed = "e\u0301";
  struct Row {
    std::string_view name;
    std::string members;
    std::optional<std::string> text;
  };
  const Row rows[] = {
      {"no text", "", {}},
      {"null as text", R"(,"textContent":null)", {}},
      {"an empty text", R"(,"textContent":"")", ""},
      {"text that is not normalised", R"(,"textContent":")" + decomposed + '"', decomposed},
      {"a NUL character", R"(,"textContent":"a\u0000b")", std::string("a\0b", 3)},
      {"the last of two texts", R"(,"textContent":"a","textContent":"b")", "b"},
      {"a good text after a bad one", R"(,"textContent":7,"textContent":"b")", "b"},
      {"null after a text", R"(,"textContent":"a","textContent":null)", {}},
      {"a bad type before the good one", R"(,"type":[1],"type":"text")", {}},
      {"unknown keys with anything in them",
       R"(,"new":{"textContent":"x","id":[{"type":0}]},"n":1e99,"id2":[[]],"":true)",
       {}},
      {"brackets 510 deep in a clip", ",\"deep\":" + nested(510), {}},
      {"white space everywhere", " ,\r\n\t\"textContent\" :\n\"a\" ", "a"},
  };
  for (const Row& row : rows) {
    const std::vector<ClipItem> clips =
        clipsFrom("\xEF\xBB\xBF" + historyWith(row.members) + " \n");
    ASSERT_EQ(clips.size(), 1U) << row.name;
    EXPECT_EQ(clips[0].textContent().has_value(), row.text.has_value()) << row.name;
    EXPECT_EQ(clips[0].textContent().value_or(Text()).view(), row.text.value_or("")) << row.name;
  }
  EXPECT_TRUE(clipsFrom(" [ ] ").empty());
  EXPECT_EQ(clipsFrom(historyWith(R"(,"id":"e621e1f8-c36c-495a-93fc-0c247a3e6e5f")"))[0].id(),
            Uuid::fromString(goodId));
}

TEST(HistoryJsonTest, saysWhereAndWhyAHistoryCannotBeRead) {
  struct Row {
    std::string json;
    std::string_view reason;
  };
  const std::string good = clipWith("");
  const Row rows[] = {
      {"", "the history: the text ends too early, at byte 0"},
      {" \n", "the history: the text ends too early, at byte 2"},
      {"\xEF\xBB\xBF", "the history: the text ends too early, at byte 3"},
      {"\xEF\xBB[]", "the history: this is not JSON"},
      {"{}", "the history is not an array"},
      {"null", "the history is not an array"},
      {"[" + good + ",7]", "clip 1 is not an object"},
      {"[" + good + "," + good + ",[]]", "clip 2 is not an object"},
      {"[" + good + ",{}]", "clip 1: \"id\" is missing"},
      {R"([{"id":"E621E1F8-C36C-495A-93FC-0C247A3E6E5F","type":"text"}])",
       "clip 0: \"timestamp\" is missing"},
      {historyWith(R"(,"id":null)"), "clip 0: \"id\" is not a string"},
      {historyWith(R"(,"id":"E621E1F8C36C495A93FC0C247A3E6E5F")"), "clip 0: \"id\" is not a UUID"},
      {historyWith(R"(,"type":"file")"), "clip 0: \"type\" is none of text, rtf and image"},
      {historyWith(R"(,"type":"Text")"), "clip 0: \"type\" is none of text, rtf and image"},
      {historyWith(R"(,"timestamp":"1")"), "clip 0: \"timestamp\" is not a number"},
      {historyWith(R"(,"timestamp":null)"), "clip 0: \"timestamp\" is not a number"},
      {historyWith(R"(,"timestamp":1e309)"), "clip 0: \"timestamp\" is out of range"},
      // Releases of the parser differ on who tells.
      {historyWith(R"(,"timestamp":1e99999999999)"), "is out of range"},
      {historyWith(R"(,"timestamp":01)"), "clip 0: \"timestamp\": this is not JSON"},
      {historyWith(R"(,"timestamp":NaN)"), "clip 0: \"timestamp\": this is not JSON"},
      {historyWith(R"(,"textContent":{"a":1})"), "clip 0: \"textContent\" is not a string"},
      {historyWith(R"(,"textContent":"b","textContent":7)"), "\"textContent\" is not a string"},
      {historyWith(R"(,"rtfData":"Zm9v\nZm9v")"), "clip 0: \"rtfData\" is not Base64"},
      {historyWith(R"(,"imageData":"Zg")"), "clip 0: \"imageData\" is not Base64"},
      {historyWith(R"(,"textContent":"\ud800")"), "clip 0: \"textContent\": this is not JSON"},
      {historyWith(R"(,"textContent":"\udc00 padding to be read at once")"), "is half"},
      {historyWith(R"(,"textContent":"\ud800\ud800 padding")"), "is half"},
      {historyWith(R"(,"new":"\udc00 padding to be read at once")"), "clip 0: \"new\": an escape"},
      {historyWith(",\"textContent\":\"\xC3\""), "\"textContent\" is not valid UTF-8"},
      {historyWith(",\"textContent\":\"\xED\xA0\x80\""), "\"textContent\" is not valid UTF-8"},
      {historyWith(",\"new\":[\"\xFF\"]"), "\"new\" is not valid UTF-8"},
      {historyWith(",\"\xFF\":1"), "a key is not valid UTF-8"},
      {historyWith(",\"textContent\":\"a line\nbreak\""), "\"textContent\": this is not JSON"},
      {historyWith(",\"textContent\":\"0123456789abcde\x1F\""), "this is not JSON"},
      {historyWith(",\"deep\":" + nested(511)), "clip 0: \"deep\": the nesting is too deep"},
      {std::string(200'000, '['), "clip 0 is not an object"},
      {historyWith(",\"deep\":" + std::string(200'000, '{')), "this is not JSON"},
      {"[" + good + ",]", "this is not JSON"},
      {"[" + good + "] x", "there is more after the end of the value"},
      {"[" + good + "][]", "there is more after the end of the value"},
      {"[]" + std::string(1, '\0'), "there is more after the end of the value"},
  };
  for (const Row& row : rows) {
    EXPECT_THAT(errorOf(decodeHistory(row.json)), HasSubstr(row.reason)) << row.json.substr(0, 200);
  }
}

TEST(HistoryJsonTest, noCutOffHistoryPassesForAWholeOne) {
  for (std::size_t length = 0; length < foreignHistory.size(); ++length) {
    EXPECT_NE(errorOf(decodeHistory(foreignHistory.substr(0, length))), "no error") << length;
  }
}

TEST(HistoryJsonTest, readsTheSameHoweverTheBytesArrive) {
  const std::string json = "\xEF\xBB\xBF" + std::string(foreignHistory);
  const std::vector<ClipItem> whole = clipsFrom(json);
  for (std::size_t size : {1, 2, 3, 7, 64}) {
    std::string_view left = json;
    auto result = decodeHistory([&] {
      const std::string_view chunk = left.substr(0, size);
      left.remove_prefix(chunk.size());
      return chunk;
    });
    ASSERT_EQ(errorOf(result), "no error") << size;
    EXPECT_EQ(std::get<0>(result), whole) << size;
  }
}

TEST(HistoryJsonTest, writesTheKeysThatAreThereAndEscapesWhatJsonRequires) {
  std::string controls;
  for (char control = 0; control < 0x20; ++control) controls += control;
  const ClipItem text(*Uuid::fromString("e621e1f8-c36c-495a-93fc-0c247a3e6e5f"), ClipType::text,
                      Text("a/\"b\\c\" é\u2028😀\x7F" + controls), {}, {}, {0.1});
  EXPECT_EQ(encoded(std::span(&text, 1)),
            "[{\"id\":\"E621E1F8-C36C-495A-93FC-0C247A3E6E5F\",\"type\":\"text\",\"textContent\":"
            "\"a/\\\"b\\\\c\\\" é\u2028😀\x7F"
            R"(\u0000\u0001\u0002\u0003\u0004\u0005\u0006\u0007\b\t\n\u000b\f\r\u000e\u000f)"
            R"(\u0010\u0011\u0012\u0013\u0014\u0015\u0016\u0017\u0018\u0019\u001a\u001b\u001c)"
            R"(\u001d\u001e\u001f","timestamp":0.1}])");
  EXPECT_EQ(encoded(std::span<const ClipItem>()), "[]");
}

TEST(HistoryJsonTest, bringsBackEveryClipWhole) {
  std::string allBytes;
  for (int byte = 0; byte < 256; ++byte) allBytes += static_cast<char>(byte);
  std::string large;
  while (large.size() < 700'000) large += "line \"" + std::to_string(large.size()) + "\"\n";
  std::vector<ClipItem> clips{textClip(large),
                              textClip(std::string(300'000, '\n')),
                              textClip("一二三 e\u0301 \U0001F468\u200D"),
                              richTextClip("", large + allBytes),
                              imageClip(allBytes),
                              imageClip(std::string(600'001, 'x'))};
  for (double seconds : {0.0, -1.5, 785548800.123456, 785548800.1234567, 1e-300, 1.7e308,
                         std::numeric_limits<double>::denorm_min()}) {
    clips.emplace_back(Uuid::random(), ClipType::text, Text("t"), std::nullopt, std::nullopt,
                       Timestamp{seconds});
  }
  EXPECT_EQ(clipsFrom(encoded(std::span<const ClipItem>(clips))), clips);
}

TEST(HistoryJsonTest, aTimeThatIsNoNumberDoesNotMakeTheFileUnreadable) {
  for (double seconds :
       {std::numeric_limits<double>::quiet_NaN(), -std::numeric_limits<double>::infinity()}) {
    const ClipItem clip(Uuid::random(), ClipType::text, Text("t"), {}, {}, Timestamp{seconds});
    EXPECT_EQ(clipsFrom(encoded(std::span(&clip, 1)))[0].timestamp(), Timestamp{0});
  }
}

TEST(HistoryJsonTest, writesInBoundedPiecesAndStopsWhenTheSinkGivesUp) {
  const std::vector<ClipItem> clips{textClip(std::string(3'000'000, 'x')),
                                    imageClip(std::string(3'000'000, 'x'))};
  std::size_t largest = 0;
  int count = 0;
  const auto measure = [&](std::string_view chunk) {
    largest = std::max(largest, chunk.size());
    return ++count < 5;
  };
  EXPECT_FALSE(encodeJson(std::span<const ClipItem>(clips), measure));
  EXPECT_EQ(count, 5);
  EXPECT_LE(largest, 256U * 1024);
}

AppSettings settingsFrom(std::string_view json) {
  const auto result = decodeSettings(json);
  EXPECT_EQ(errorOf(result), "no error") << json;
  const auto* settings = std::get_if<AppSettings>(&result);
  return settings != nullptr ? *settings : AppSettings::defaults;
}

TEST(SettingsJsonTest, readsWhatOtherWritersWroteAndBringsItBackWhole) {
  const AppSettings expected(200, PasteMode::copyOnly, {11, 2304},
                             {"com.example.vault", "org.example/keys"},
                             AppLanguage::simplifiedChinese, 4096);
  EXPECT_EQ(settingsFrom(foreignSettings), expected);
  EXPECT_EQ(settingsFrom(encoded(expected)), expected);
  EXPECT_EQ(encoded(AppSettings::defaults),
            R"({"maxRecords":10,"pasteMode":"directPaste","hotKey":{"keyCode":9,"modifiers":768},)"
            R"("excludedBundleIds":[],"language":"en","directPasteModifiers":2304})");
}

TEST(SettingsJsonTest, takesDefaultsForWhatIsAbsentAndBoundsTheCount) {
  const AppSettings& defaults = AppSettings::defaults;
  const auto changed = [&](auto change) {
    AppSettings settings = defaults;
    change(settings);
    return settings;
  };
  const auto records = [&](std::int64_t count) {
    return changed([&](AppSettings& settings) { settings.maxRecords = count; });
  };
  const std::pair<std::string_view, AppSettings> rows[] = {
      {"{}", defaults},
      {R"({"maxRecords":null,"pasteMode":null,"hotKey":null,"excludedBundleIds":null,)"
       R"("language":null,"directPasteModifiers":null,"new":[{"maxRecords":5}]})",
       defaults},
      {R"({"maxRecords":0})", records(1)},
      {R"({"maxRecords":-5})", records(1)},
      {R"({"maxRecords":1000})", records(1000)},
      {R"({"maxRecords":1001})", records(1000)},
      {R"({"maxRecords":-9223372036854775808})", records(1)},
      {R"({"maxRecords":20.0})", records(20)},
      {R"({"maxRecords":2e1})", records(20)},
      {R"({"maxRecords":"bad","maxRecords":30})", records(30)},
      {R"({"maxRecords":30,"maxRecords":null})", defaults},
      {R"({"language":"zh-Hans"})",
       changed([](AppSettings& settings) { settings.language = AppLanguage::simplifiedChinese; })},
      {R"({"excludedBundleIds":["a","b","a"]})",
       changed([](AppSettings& settings) { settings.excludedBundleIds = {"a", "b"}; })},
      {R"({"excludedBundleIds":["a"],"excludedBundleIds":[]})", defaults},
      {R"({"hotKey":{"keyCode":1},"hotKey":{"modifiers":0,"x":{"keyCode":5},"keyCode":4294967295}})",
       changed([](AppSettings& settings) { settings.hotKey = {4294967295, 0}; })},
      {R"({"hotKey":{"keyCode":1,"modifiers":2},"hotKey":null})", defaults},
  };
  for (const auto& [json, settings] : rows) EXPECT_EQ(settingsFrom(json), settings) << json;
}

TEST(SettingsJsonTest, saysWhereAndWhySettingsCannotBeRead) {
  const std::pair<std::string_view, std::string_view> rows[] = {
      {"", "the settings: the text ends too early, at byte 0"},
      {"[]", "the settings are not an object"},
      {R"({"maxRecords":"10"})", "\"maxRecords\" is not a number"},
      {R"({"maxRecords":10.5})", "\"maxRecords\" is not an integer of 64 bits"},
      {R"({"maxRecords":9223372036854775808})", "\"maxRecords\" is not an integer of 64 bits"},
      {R"({"language":"zh-Hans","pasteMode":"paste"})", "\"pasteMode\" is neither"},
      {R"({"language":"fr"})", "\"language\" is neither en nor zh-Hans"},
      {R"({"language":true})", "\"language\" is not a string"},
      {R"({"directPasteModifiers":-1})", "\"directPasteModifiers\" is not an integer from 0"},
      {R"({"directPasteModifiers":4294967296})", "\"directPasteModifiers\" is not an integer"},
      {R"({"hotKey":9})", "\"hotKey\" is not an object"},
      {R"({"hotKey":[]})", "\"hotKey\" is not an object"},
      {R"({"hotKey":{"keyCode":9}})", "\"hotKey\" is incomplete: \"modifiers\" is missing"},
      {R"({"hotKey":{"keyCode":null,"modifiers":1}})", "\"keyCode\" is not a number"},
      {R"({"excludedBundleIds":"a"})", "\"excludedBundleIds\" is not an array"},
      {R"({"excludedBundleIds":["a",1]})", "\"excludedBundleIds\" holds no string at index 1"},
      {R"({"maxRecords":1)", "\"maxRecords\": the text ends too early, at byte 15"},
      {"{\"excludedBundleIds\":[\"\xFF\"]}", "is not valid UTF-8"},
  };
  for (const auto& [json, reason] : rows) {
    EXPECT_THAT(errorOf(decodeSettings(json)), HasSubstr(reason)) << json;
  }
}

}  // namespace
}  // namespace stowboard
