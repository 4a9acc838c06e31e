#include "Services/ClipboardMonitor.h"

#include <gmock/gmock.h>

#include "fakes/Clips.h"
#include "fakes/FakeImageCodec.h"
#include "fakes/FakePasteboard.h"
#include "fakes/FakeRunLoop.h"
#include "fakes/FakeWorkspace.h"
#include "fakes/LogCapture.h"

namespace stowboard {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

const std::string unreadable = "error clipboard: Detected change but no readable content; types: ";
const std::string gaveUp = "error clipboard: Gave up reading clipboard content after 3 retries";
const std::string repeated = "info clipboard: Skipped: duplicate of the latest entry";
const std::string excluded = "info clipboard: Skipped: source app is excluded";

class ClipboardMonitorTest : public ::testing::Test {
 protected:
  ClipboardMonitorTest() { remake(); }

  void remake() {
    monitor_ = std::make_unique<ClipboardMonitor>(
        pasteboard_, state_, ThumbnailGenerator(codec_),
        std::make_unique<FrontmostAppProvider>(workspace_),
        [this] { return state_->settings().excludedBundleIds; }, codec_, runLoop_);
  }

  void startQuietly() {
    LogCapture quiet;
    monitor_->start();
  }

  std::vector<std::string> history() const { return previews(state_->clips()); }

  FakeRunLoop runLoop_;
  FakePasteboard pasteboard_;
  FakeWorkspace workspace_;
  FakeImageCodec codec_;
  std::shared_ptr<AppState> state_ =
      std::make_shared<AppState>(AppState::Clips{}, AppSettings::defaults);
  std::unique_ptr<ClipboardMonitor> monitor_;
};

TEST_F(ClipboardMonitorTest, RecordsWhatIsCopiedAfterTheStartAndNothingFromBefore) {
  pasteboard_.copyText("before");
  remake();
  pasteboard_.copyText("between building and starting");
  startQuietly();
  runLoop_.advance(1s);
  EXPECT_THAT(history(), IsEmpty());
  for (const char* text : {"a", "b", "a", "  "}) pasteboard_.copyText(text);
  EXPECT_THAT(history(), ElementsAre("  ", "a", "b", "a"));
}

TEST_F(ClipboardMonitorTest, SleepsWhileAnAnnouncingPasteboardIsQuiet) {
  startQuietly();
  pasteboard_.copyText("a");
  EXPECT_EQ(runLoop_.runningTimers(), 0);
  monitor_->stop();
  pasteboard_.copyText("after the stop");
  EXPECT_THAT(history(), ElementsAre("a"));
  monitor_->start();
  pasteboard_.copyText("b");
  EXPECT_THAT(history(), ElementsAre("b", "a")) << "what came while stopped is not recorded";
}

TEST_F(ClipboardMonitorTest, PollsTwiceASecondWhereThePasteboardIsSilent) {
  pasteboard_.announces = false;
  startQuietly();
  pasteboard_.copyText("lost to a newer copy");
  pasteboard_.copyText("a");
  runLoop_.advance(499ms);
  EXPECT_THAT(history(), IsEmpty());
  runLoop_.advance(1ms);
  EXPECT_THAT(history(), ElementsAre("a"));
  const int reads = pasteboard_.reads;
  runLoop_.advance(10s);
  EXPECT_EQ(pasteboard_.reads, reads) << "a tick that sees no change reads nothing";
}

TEST_F(ClipboardMonitorTest, LogsARepeatedCopyOnce) {
  startQuietly();
  LogCapture log;
  pasteboard_.copyText("a");
  pasteboard_.copyText("a");
  runLoop_.advance(2s);
  EXPECT_THAT(history(), SizeIs(1));
  EXPECT_THAT(log.lines(), ElementsAre(repeated));
}

struct ReadingCase {
  const char* name;
  FakePasteboard::Content content;
  ClipType type;
  std::optional<std::string> text;
  std::optional<std::string> rtf;
  bool hasImage = false;
};

class ReadingTest : public ClipboardMonitorTest,
                    public ::testing::WithParamInterface<ReadingCase> {};

TEST_P(ReadingTest, BecomesTheClip) {
  const ReadingCase& expected = GetParam();
  startQuietly();
  pasteboard_.copy(expected.content);
  ASSERT_THAT(state_->clips(), SizeIs(1));
  const ClipItem& clip = state_->clips().front();
  EXPECT_EQ(clip.type(), expected.type);
  EXPECT_EQ(clip.textContent(), expected.text ? std::optional(Text(*expected.text)) : std::nullopt);
  EXPECT_EQ(clip.rtfData(), expected.rtf ? std::optional(Bytes(*expected.rtf)) : std::nullopt);
  EXPECT_EQ(clip.imageData().has_value(), expected.hasImage);
}

INSTANTIATE_TEST_SUITE_P(
    ClipboardMonitor, ReadingTest,
    ::testing::Values(
        ReadingCase{"RichTextWithItsPlainForm",
                    {{"text/rtf", "{\\rtf1 a}"}, {"text/plain", "a"}},
                    ClipType::rtf,
                    "a",
                    "{\\rtf1 a}"},
        ReadingCase{"RichTextAloneAndEmpty", {{"text/rtf", ""}}, ClipType::rtf, {}, ""},
        ReadingCase{"ImageBeforeRichTextBeforeText",
                    {{"image/png", "image 40x30"}, {"text/rtf", "{}"}, {"text/plain", "a"}},
                    ClipType::image,
                    {},
                    {},
                    true},
        ReadingCase{"TiffBeforePng",
                    {{"image/tiff", "image 40x30"}, {"image/png", "damaged"}},
                    ClipType::image,
                    {},
                    {},
                    true},
        ReadingCase{"UndecodableImageFallsBackToText",
                    {{"image/png", "damaged"}, {"text/plain", "a"}},
                    ClipType::text,
                    "a",
                    {}},
        ReadingCase{"ImageTooThinForAThumbnailFallsBackToText",
                    {{"image/png", "image 1000x2"}, {"text/plain", "a"}},
                    ClipType::text,
                    "a",
                    {}}),
    [](const auto& test) { return test.param.name; });

TEST_F(ClipboardMonitorTest, GivesAnUnreadableCopyUpAfterThreeAttempts) {
  startQuietly();
  LogCapture log;
  pasteboard_.copy({{"text/plain", ""}, {"x-own", "?"}});
  const std::string failure = unreadable + R"(["text/plain", "x-own"])";
  EXPECT_THAT(log.lines(), ElementsAre(failure));
  runLoop_.advance(500ms);
  EXPECT_THAT(log.lines(), ElementsAre(failure, failure));
  runLoop_.advance(10s);
  EXPECT_THAT(log.lines(), ElementsAre(failure, failure, failure, gaveUp));
  EXPECT_EQ(runLoop_.runningTimers(), 0);
}

TEST_F(ClipboardMonitorTest, ARetryReadsWhatTheOwnerGivesWhenItIsAskedAgain) {
  startQuietly();
  LogCapture log;
  pasteboard_.secondAnswer = FakePasteboard::Content{{"text/plain", "late"}};
  pasteboard_.copy({});
  pasteboard_.state = Pasteboard::Rereading::underWay;
  runLoop_.advance(5s);
  EXPECT_THAT(history(), IsEmpty()) << "an owner that takes its time is waited for";
  pasteboard_.state = Pasteboard::Rereading::ended;
  runLoop_.advance(500ms);
  EXPECT_THAT(history(), ElementsAre("late"));
  pasteboard_.copy({});
  pasteboard_.state = Pasteboard::Rereading::inVain;
  runLoop_.advance(5s);
  EXPECT_THAT(log.lines(), ElementsAre(unreadable + "[]", unreadable + "[]"))
      << "an owner that is gone is told of once";
  EXPECT_EQ(runLoop_.runningTimers(), 0);
}

TEST_F(ClipboardMonitorTest, CountsFailuresOfAReplacedCopyTowardsTheNext) {
  startQuietly();
  pasteboard_.hasTypeList = false;
  LogCapture log;
  pasteboard_.copy({});
  runLoop_.advance(500ms);
  pasteboard_.copy({});
  EXPECT_THAT(log.lines(),
              ElementsAre(unreadable + "none", unreadable + "none", unreadable + "none", gaveUp));
}

TEST_F(ClipboardMonitorTest, AReadableCopyEndsTheRetries) {
  startQuietly();
  LogCapture log;
  pasteboard_.copy({});
  pasteboard_.copyText("a");
  runLoop_.advance(5s);
  EXPECT_THAT(log.lines(), ElementsAre(unreadable + "[]"));
  EXPECT_THAT(history(), ElementsAre("a"));
}

TEST_F(ClipboardMonitorTest, SkipsItsOwnWritesAndNothingElse) {
  startQuietly();
  pasteboard_.write({{"text/plain", "pasted"}});
  monitor_->markSelfWrite();
  runLoop_.advance(5s);
  EXPECT_THAT(history(), IsEmpty());
  EXPECT_EQ(runLoop_.runningTimers(), 0);

  pasteboard_.write({{"text/plain", "pasted"}});
  monitor_->markSelfWrite();
  pasteboard_.copyText("copied right after");
  runLoop_.advance(5s);
  EXPECT_THAT(history(), ElementsAre("copied right after"));
}

TEST_F(ClipboardMonitorTest, SkipsCopiesMadeInAnExcludedApplicationForGood) {
  startQuietly();
  AppSettings settings;
  settings.excludedBundleIds = {"org.example.Vault"};
  state_->updateSettings(settings);
  LogCapture log;
  workspace_.bringToFront("org.example.Vault");
  pasteboard_.copyText("secret");
  workspace_.bringToFront("org.example.Editor");
  runLoop_.advance(5s);
  EXPECT_THAT(history(), IsEmpty());
  EXPECT_THAT(log.lines(), ElementsAre(excluded));
  EXPECT_EQ(pasteboard_.string(PasteboardType::string), std::nullopt) << "nor can it be pasted";
  pasteboard_.copyText("open");
  EXPECT_THAT(history(), ElementsAre("open"));
  // In front when it was copied, or its owner; not in front now.
  for (const char* other : {"org.example.Editor", "org.example.vault"}) {
    pasteboard_.sourceIds = {{other, "org.example.Vault"}};
    pasteboard_.copyText("secret");
  }
  workspace_.bringToFront("org.example.Vault");
  pasteboard_.sourceIds = {{"org.example.Editor"}};
  pasteboard_.copyText("copied before the switch");
  EXPECT_THAT(history(), ElementsAre("copied before the switch", "open"));
}

}  // namespace
}  // namespace stowboard
