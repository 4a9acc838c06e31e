#include "Services/PasteSimulator.h"

#include <gmock/gmock.h>

#include <optional>

#include "fakes/Clips.h"
#include "fakes/FakeAccessibilityTrust.h"
#include "fakes/FakeImageCodec.h"
#include "fakes/FakeKeyEventPoster.h"
#include "fakes/FakePasteboard.h"
#include "fakes/FakeRunLoop.h"
#include "fakes/FakeWorkspace.h"
#include "fakes/LogCapture.h"

namespace stowboard {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string own = "com.qarvin.stowboard";

struct RecordingMonitor : ClipboardMonitoring {
  explicit RecordingMonitor(Pasteboard& watched) : pasteboard(watched) {}
  void start() override {}
  void stop() override {}
  void markSelfWrite() override { markedCount = pasteboard.changeCount(); }
  Pasteboard& pasteboard;
  std::optional<std::int64_t> markedCount;
};

class PasteSimulatorTest : public ::testing::Test {
 protected:
  PasteSimulatorTest() {
    trust_.trusted = true;
    simulator_->onDidActivate = [this] {
      EXPECT_EQ(monitor_.markedCount, pasteboard_.changeCount())
          << "the write is marked before anyone hears of it";
      activations_ += 1;
    };
  }

  const std::vector<KeyEvent> commandV{{9, true, KeyEventFlags::command}, {9, false, 0}};

  FakeRunLoop runLoop_;
  FakePasteboard pasteboard_;
  FakeImageCodec codec_;
  FakeWorkspace workspace_;
  FakeKeyEventPoster poster_;
  FakeAccessibilityTrust trust_;
  RecordingMonitor monitor_{pasteboard_};
  PermissionHelper permission_{trust_};
  AppSettings settings_;
  int activations_ = 0;
  LogCapture log_;
  std::optional<PasteSimulator> simulator_{
      std::in_place, PasteSimulator::Ports{pasteboard_, codec_, workspace_, poster_, runLoop_, own},
      monitor_, permission_, [this] { return settings_; }};
};

TEST_F(PasteSimulatorTest, PastesIntoTheForeignApplicationInFrontWithoutActivatingIt) {
  workspace_.bringToFront("org.example.Editor");
  simulator_->activate(textClip("a"));
  EXPECT_EQ(pasteboard_.string(PasteboardType::string), Text("a"));
  EXPECT_EQ(activations_, 1);
  runLoop_.advance(79ms);
  EXPECT_THAT(poster_.posted, IsEmpty());
  runLoop_.advance(1ms);
  EXPECT_EQ(poster_.posted, commandV);
  EXPECT_THAT(workspace_.activations, IsEmpty());
  EXPECT_THAT(log_.lines(), ElementsAre("info paste: Pasting into org.example.Editor"));
}

TEST_F(PasteSimulatorTest, BringsTheLastForeignApplicationBackWhenOursIsInFront) {
  workspace_.bringToFront("org.example.Editor");
  workspace_.bringToFront(own);
  simulator_->activate(textClip("a"));
  ASSERT_EQ(workspace_.activations.size(), 1u);
  EXPECT_EQ(workspace_.activations[0].bundleIdentifier, "org.example.Editor");
  runLoop_.advance(80ms);
  EXPECT_EQ(poster_.posted, commandV);
}

TEST_F(PasteSimulatorTest, RemembersAnApplicationWithoutIdentifierButNeverTakesItForForeign) {
  workspace_.bringToFront(RunningApplication{std::nullopt, 7, 7});
  simulator_->activate(textClip("a"));
  ASSERT_EQ(workspace_.activations.size(), 1u) << "in front, yet activated, as it is not foreign";
  EXPECT_EQ(workspace_.activations[0].window, 7u);
  EXPECT_THAT(log_.lines(), ElementsAre("info paste: Pasting into unknown"));
}

TEST_F(PasteSimulatorTest, WithoutATargetTheKeystrokeStillFollows) {
  workspace_.bringToFront("org.example.Editor");
  workspace_.terminated.push_back(*workspace_.frontmostApplication());
  workspace_.setFrontmost(std::nullopt);
  simulator_->activate(textClip("a"));
  EXPECT_THAT(workspace_.activations, IsEmpty());
  EXPECT_THAT(log_.lines(), ElementsAre("info paste: Pasting into unknown"));
  runLoop_.advance(80ms);
  EXPECT_EQ(poster_.posted, commandV);
}

TEST_F(PasteSimulatorTest, PastesAskedForTogetherEachFindTheirClipOnTheClipboard) {
  workspace_.bringToFront("org.example.Editor");
  for (const char* text : {"alpha", "beta", "gamma"}) simulator_->activate(textClip(text));
  std::vector<std::string> pasted;
  for (int step = 0; step < 1000; ++step) {
    // A program may ask for the content a while after the keystroke.
    const bool isAsked = poster_.posted.size() == 2 * (pasted.size() + 1);
    if (isAsked) {
      runLoop_.advance(60ms);
      pasted.emplace_back(pasteboard_.string(PasteboardType::string)->view());
    }
    runLoop_.advance(1ms);
  }
  EXPECT_THAT(pasted, ElementsAre("alpha", "beta", "gamma"));
  EXPECT_EQ(activations_, 3);
}

TEST_F(PasteSimulatorTest, APasteThatCannotBeSentDoesNotHoldTheNextUp) {
  workspace_.bringToFront("org.example.Editor");
  trust_.trusted = false;
  for (const char* text : {"alpha", "beta"}) simulator_->activate(textClip(text));
  runLoop_.advance(80ms);
  trust_.trusted = true;
  runLoop_.advance(80ms);
  EXPECT_EQ(poster_.posted, commandV);
  for (std::size_t count = 0; count <= PasteSimulator::mostWaiting; ++count) {
    simulator_->activate(textClip("more"));
  }
  EXPECT_EQ(log_.errors("paste").back(),
            "error paste: Too many pastes are waiting: one was left out");
}

TEST_F(PasteSimulatorTest, CopyOnlyModeStopsAfterTheWrite) {
  settings_.pasteMode = PasteMode::copyOnly;
  workspace_.bringToFront("org.example.Editor");
  simulator_->activate(textClip("a"));
  runLoop_.advance(1s);
  EXPECT_EQ(activations_, 1);
  EXPECT_EQ(pasteboard_.string(PasteboardType::string), Text("a"));
  EXPECT_THAT(poster_.posted, IsEmpty());
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(PasteSimulatorTest, PostsNothingWithoutPermissionSourceOrSimulator) {
  workspace_.bringToFront("org.example.Editor");
  trust_.trusted = false;
  simulator_->activate(textClip("a"));
  runLoop_.advance(1s);
  trust_.trusted = true;
  poster_.hasSource = false;
  simulator_->activate(textClip("a"));
  runLoop_.advance(1s);
  EXPECT_EQ(log_.lines().back(), "error paste: Failed to create CGEventSource");
  poster_.hasSource = true;
  simulator_->activate(textClip("a"));
  simulator_.reset();
  runLoop_.advance(1s);
  EXPECT_THAT(poster_.posted, IsEmpty());
}

}  // namespace
}  // namespace stowboard
