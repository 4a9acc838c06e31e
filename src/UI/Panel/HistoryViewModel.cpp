#include "UI/Panel/HistoryViewModel.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace stowboard {

namespace {

ClipItem withoutFormatting(const ClipItem& clip) {
  return {clip.id(), ClipType::text, clip.textContent(), {}, {}, clip.timestamp()};
}

}  // namespace

HistoryViewModel::HistoryViewModel(std::shared_ptr<AppState> appState,
                                   PasteSimulating* pasteSimulator, RunLoop& runLoop)
    : appState_(std::move(appState)), pasteSimulator_(pasteSimulator) {
  const auto later = [&runLoop](auto task) { runLoop.post(std::move(task)); };
  appState_->clipsPublisher()
      .dropFirst()
      // Told apart while it happens: it is heard of on a later turn, when the selection is where
      // the removal has put it.
      .map([this](const AppState::Clips&) { return isRemoving_; })
      .receiveOn(later)
      .sink([this](bool isOwnRemoval) {
        if (!isOwnRemoval) resetSelectionIfNeeded();
        changes_.announce();
      })
      .storeIn(cancellables_);
  appState_->settingsPublisher()
      .dropFirst()
      .receiveOn(later)
      .sink([this](const AppSettings&) { changes_.announce(); })
      .storeIn(cancellables_);
}

void HistoryViewModel::setQuery(std::string query) {
  query_ = std::move(query);
  changes_.announce();
  resetSelectionIfNeeded();
}

void HistoryViewModel::reset() {
  setQuery("");
  resetSelectionIfNeeded();
}

void HistoryViewModel::resetSelectionIfNeeded() {
  if (!appState_->hasFilteredClips(query_)) return select(std::nullopt);
  select(0);
}

void HistoryViewModel::moveSelection(std::ptrdiff_t step) {
  const std::ptrdiff_t count = std::ssize(visibleClips());
  if (count == 0) return;
  select(std::clamp<std::ptrdiff_t>(selectedIndex_.value_or(0) + step, 0, count - 1));
}

void HistoryViewModel::select(std::optional<std::ptrdiff_t> index) {
  selectedIndex_ = index;
  changes_.announce();
}

void HistoryViewModel::activateSelected() {
  if (selectedIndex_) activate(*selectedIndex_);
}

void HistoryViewModel::activateSelectedAsPlainText() {
  const auto clip = visibleClip(selectedIndex_.value_or(-1));
  if (clip) use(clip->textContent() ? withoutFormatting(*clip) : *clip);
}

void HistoryViewModel::removeSelected() {
  const auto clip = visibleClip(selectedIndex_.value_or(-1));
  if (!clip) return;
  isRemoving_ = true;
  appState_->remove(clip->id());
  isRemoving_ = false;
  const std::ptrdiff_t last = std::ssize(visibleClips()) - 1;
  select(last < 0 ? std::nullopt : std::optional(std::min(*selectedIndex_, last)));
}

void HistoryViewModel::activate(std::ptrdiff_t index) {
  if (const auto clip = visibleClip(index)) use(*clip);
}

std::optional<ClipItem> HistoryViewModel::visibleClip(std::ptrdiff_t index) const {
  const AppState::Clips clips = visibleClips();
  if (index < 0 || index >= std::ssize(clips)) return std::nullopt;
  return clips[static_cast<std::size_t>(index)];
}

void HistoryViewModel::use(const ClipItem& clip) {
  if (pasteSimulator_ != nullptr) {
    // What closes the panel then is the simulator's report of the activation.
    pasteSimulator_->activate(clip);
  } else if (onRequestClose) {
    onRequestClose();
  }
}

}  // namespace stowboard
