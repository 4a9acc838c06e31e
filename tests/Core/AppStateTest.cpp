#include "Core/AppState.h"

#include <gmock/gmock.h>

#include "fakes/Clips.h"

namespace stowboard {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

AppSettings settingsKeeping(std::int64_t maxRecords) {
  AppSettings settings;
  settings.maxRecords = maxRecords;
  return settings;
}

AppState::Clips numberedClips(int count) {
  AppState::Clips clips;
  for (int number = 1; number <= count; ++number) clips.push_back(textClip(std::to_string(number)));
  return clips;
}

/// The lists that a subscriber receives, as previews.
struct Deliveries {
  explicit Deliveries(AppState& state) {
    subscription = state.clipsPublisher().dropFirst(1).sink(
        [this](const AppState::Clips& clips) { lists.push_back(previews(clips)); });
  }
  std::vector<std::vector<std::string>> lists;
  Subscription subscription;
};

TEST(AppState, RefusesOnlyARepetitionOfTheNewestClip) {
  AppState state({}, AppSettings::defaults);
  EXPECT_TRUE(state.append(textClip("a")));
  Deliveries deliveries(state);
  EXPECT_FALSE(state.append(textClip("a")));
  EXPECT_THAT(deliveries.lists, IsEmpty());
  EXPECT_TRUE(state.append(richTextClip("a", "{\\rtf1 a}"))) << "another kind is another content";
  EXPECT_TRUE(state.append(textClip("a")));
  EXPECT_THAT(previews(state.clips()), ElementsAre("a", "a", "a"));
}

TEST(AppState, AppendingToAFullHistoryNotifiesOnceTooLongAndOnceTrimmed) {
  AppState state(numberedClips(3), settingsKeeping(3));
  Deliveries deliveries(state);
  state.append(textClip("new"));
  EXPECT_THAT(deliveries.lists,
              ElementsAre(ElementsAre("new", "1", "2", "3"), ElementsAre("new", "1", "2")));
}

TEST(AppState, KeepsTheNewestClipsThatTheMaximumAllows) {
  AppState state(numberedClips(300), settingsKeeping(100));
  EXPECT_THAT(state.clips(), SizeIs(100));
  EXPECT_EQ(state.clips().back().previewText(), "100");

  Deliveries deliveries(state);
  state.updateSettings(settingsKeeping(100));
  EXPECT_THAT(deliveries.lists, IsEmpty()) << "nothing to trim, nobody to notify";
  state.updateSettings(settingsKeeping(2));
  EXPECT_THAT(deliveries.lists, ElementsAre(ElementsAre("1", "2")));
}

TEST(AppState, NotifiesOfEverySettingsRecordAlsoAnUnchangedOne) {
  AppState state({}, AppSettings::defaults);
  int deliveries = 0;
  const Subscription subscription =
      state.settingsPublisher().sink([&](const AppSettings&) { deliveries += 1; });
  state.updateSettings(AppSettings::defaults);
  EXPECT_EQ(deliveries, 2) << "the current value at subscription, then the assignment";
}

TEST(AppState, ClearingAnEmptyHistoryStillNotifies) {
  AppState state({}, AppSettings::defaults);
  Deliveries deliveries(state);
  state.clearAll();
  EXPECT_THAT(deliveries.lists, ElementsAre(IsEmpty()));
}

TEST(AppState, SearchesTextsAndReturnsAllClipsForABlankQuery) {
  AppState state({imageClip("jpeg"), textClip("A foo here"), richTextClip("FOO", "{\\rtf1 x}"),
                  textClip("fo o"), textClip("café")},
                 AppSettings::defaults);
  EXPECT_THAT(state.filteredClips("  "), SizeIs(5));
  EXPECT_THAT(previews(state.filteredClips("\t\xC2\xA0"
                                           "Foo \n")),
              ElementsAre("A foo here", "FOO"));
  EXPECT_THAT(previews(state.filteredClips("foo here")), ElementsAre("A foo here"));
  EXPECT_THAT(previews(state.filteredClips("CAFE\xCC\x81")), ElementsAre("café"));
  EXPECT_THAT(state.filteredClips("cafe"), IsEmpty());
  EXPECT_THAT(state.filteredClips("image"), IsEmpty());
}

}  // namespace
}  // namespace stowboard
