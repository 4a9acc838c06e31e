#include "UI/Panel/HistoryViewModel.h"

#include <gmock/gmock.h>

#include "fakes/Clips.h"
#include "fakes/FakePasteSimulator.h"
#include "fakes/FakeRunLoop.h"

namespace stowboard {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class HistoryViewModelTest : public ::testing::Test {
 protected:
  void make(const std::vector<std::string>& texts, PasteSimulating* simulator) {
    state_ = std::make_shared<AppState>(textClips(texts), AppSettings());
    model_ = std::make_unique<HistoryViewModel>(state_, simulator, loop_);
    changes_ = model_->changes().subscribe([this] { ++announced_; });
  }
  void make(const std::vector<std::string>& texts) { make(texts, &simulator_); }

  FakeRunLoop loop_;
  FakePasteSimulator simulator_;
  std::shared_ptr<AppState> state_;
  std::unique_ptr<HistoryViewModel> model_;
  Subscription changes_;
  int announced_ = 0;
};

TEST_F(HistoryViewModelTest, TheSelectionStopsAtEitherEndAndFollowsTheQuery) {
  make({"apple", "pear", "grape"});
  EXPECT_EQ(model_->selectedIndex(), std::nullopt);
  model_->moveSelection(1);
  EXPECT_EQ(model_->selectedIndex(), 1) << "none counts as the first";
  model_->reset();
  EXPECT_EQ(model_->selectedIndex(), 0);
  for (const auto& [step, expected] : {std::pair(-1, 0), {1, 1}, {1, 2}, {1, 2}, {-9, 0}, {9, 2}}) {
    announced_ = 0;
    model_->moveSelection(step);
    EXPECT_EQ(model_->selectedIndex(), expected);
    EXPECT_EQ(announced_, 1) << "also when nothing moved";
  }
  model_->setQuery(" AP ");
  EXPECT_EQ(model_->query(), " AP ");
  EXPECT_THAT(previews(model_->visibleClips()), ElementsAre("apple", "grape"));
  EXPECT_EQ(model_->selectedIndex(), 0);
  model_->setQuery("plum");
  EXPECT_EQ(model_->selectedIndex(), std::nullopt);
  model_->moveSelection(1);
  EXPECT_EQ(model_->selectedIndex(), std::nullopt);
  model_->reset();
  EXPECT_EQ(model_->query(), "");
  EXPECT_EQ(model_->selectedIndex(), 0);
}

TEST_F(HistoryViewModelTest, ActivatesWhatIsVisibleAtAnIndexAndNothingElse) {
  make({"apple", "pear", "grape"});
  model_->activateSelected();
  model_->reset();
  for (const int outside : {-1, 3, 8}) model_->activate(outside);
  EXPECT_THAT(simulator_.activated, IsEmpty());
  bool isClosing = false;
  model_->onRequestClose = [&] { isClosing = true; };
  model_->setQuery("ap");
  model_->moveSelection(1);
  model_->activateSelected();
  model_->activate(0);
  EXPECT_THAT(simulator_.activated, ElementsAre("grape", "apple"));
  EXPECT_FALSE(isClosing) << "that is left to the simulator's report";
}

TEST_F(HistoryViewModelTest, ARemovedClipLeavesTheSelectionToItsNeighbour) {
  make({"apple", "pear", "grape", "plum", "apricot"});
  model_->removeSelected();
  EXPECT_EQ(state_->clips().size(), 5u) << "nothing is selected";
  model_->setQuery("ap");
  model_->moveSelection(1);
  for (const auto& [left, selected] : std::vector<std::pair<std::vector<std::string>, int>>{
           {{"apple", "apricot"}, 1}, {{"apple"}, 0}, {{}, -1}}) {
    model_->removeSelected();
    EXPECT_EQ(previews(model_->visibleClips()), left);
    EXPECT_EQ(model_->selectedIndex().value_or(-1), selected);
    loop_.runUntilIdle();
    EXPECT_EQ(model_->selectedIndex().value_or(-1), selected) << "also when it has got about";
  }
  EXPECT_THAT(previews(state_->clips()), ElementsAre("pear", "plum"));
}

TEST_F(HistoryViewModelTest, PastesWithoutFormattingWhatHasAText) {
  for (const auto& [clip, type] :
       {std::pair(richTextClip("a", "{\\rtf1 a}"), ClipType::text),
        {textClip("b"), ClipType::text},
        {imageClip("c"), ClipType::image},
        {ClipItem(Uuid::random(), ClipType::rtf, {}, Bytes("{}"), {}, Timestamp::now()),
         ClipType::rtf}}) {
    make({});
    state_->append(clip);
    model_->reset();
    model_->activateSelectedAsPlainText();
    ASSERT_TRUE(simulator_.last);
    EXPECT_EQ(simulator_.last->type(), type);
    EXPECT_EQ(simulator_.last->textContent(), clip.textContent());
    EXPECT_EQ(simulator_.last->rtfData().has_value(), type == ClipType::rtf);
  }
}

TEST_F(HistoryViewModelTest, HearsOfTheStateOnALaterTurn) {
  make({"b", "a"});
  loop_.runUntilIdle();
  EXPECT_EQ(announced_, 0) << "what was there at first is no change";
  model_->reset();
  model_->moveSelection(1);
  announced_ = 0;
  auto settings = state_->settings();
  settings.language = AppLanguage::simplifiedChinese;
  state_->updateSettings(settings);
  EXPECT_EQ(announced_, 0);
  loop_.runUntilIdle();
  EXPECT_EQ(announced_, 1);
  EXPECT_EQ(model_->selectedIndex(), 1) << "a setting leaves the selection alone";
  state_->append(textClip("c"));
  EXPECT_EQ(model_->selectedIndex(), 1);
  loop_.runUntilIdle();
  EXPECT_EQ(model_->selectedIndex(), 0);
  state_->clearAll();
  loop_.runUntilIdle();
  EXPECT_EQ(model_->selectedIndex(), std::nullopt);
  state_->append(textClip("d"));
  model_.reset();
  loop_.runUntilIdle();
}

}  // namespace
}  // namespace stowboard
