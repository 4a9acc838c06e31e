#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "Base/Published.h"
#include "Core/AppState.h"
#include "Platform/RunLoop.h"
#include "Services/PasteSimulating.h"

namespace stowboard {

/// The logic of the history panel: the search, what it lets through, which row is selected, and
/// what choosing a clip does. Holds no clips of its own. Main thread.
///
/// Whenever the main thread is idle, a row is selected exactly when a clip is visible.
class HistoryViewModel {
 public:
  /// The run loop and the paste simulator must outlive the view model. Without a simulator,
  /// choosing a clip only closes the panel.
  HistoryViewModel(std::shared_ptr<AppState> appState, PasteSimulating* pasteSimulator,
                   RunLoop& runLoop);
  HistoryViewModel(const HistoryViewModel&) = delete;
  HistoryViewModel& operator=(const HistoryViewModel&) = delete;

  const std::string& query() const { return query_; }
  /// UTF-8, as typed. Selects the first row of what it finds.
  void setQuery(std::string query);

  /// Index in `visibleClips`.
  std::optional<std::ptrdiff_t> selectedIndex() const { return selectedIndex_; }

  /// What the query lets through, newest first. Filtered afresh at each call.
  AppState::Clips visibleClips() const { return appState_->filteredClips(query_); }

  /// For each opening of the panel: no query, and the first row selected.
  void reset();
  /// Stops at either end.
  void moveSelection(std::ptrdiff_t step);
  void activateSelected();
  /// Without its formatting; what has no text, an image, goes as it is.
  void activateSelectedAsPlainText();
  /// Takes it out of the history. The selection goes to the clip that follows, or to the new last.
  void removeSelected();
  /// Does nothing for an index that is not in `visibleClips`.
  void activate(std::ptrdiff_t index);

  /// Announced after every assignment to the query or the selection, also of an unchanged value,
  /// and when the clips or the settings have changed: everything is to be read again.
  ChangeAnnouncer& changes() { return changes_; }

  /// Closes the panel. Absent at first.
  std::function<void()> onRequestClose;

 private:
  void resetSelectionIfNeeded();
  void select(std::optional<std::ptrdiff_t> index);
  std::optional<ClipItem> visibleClip(std::ptrdiff_t index) const;
  void use(const ClipItem& clip);

  std::string query_;
  std::optional<std::ptrdiff_t> selectedIndex_;
  bool isRemoving_ = false;
  const std::shared_ptr<AppState> appState_;
  PasteSimulating* const pasteSimulator_;
  ChangeAnnouncer changes_;
  Cancellables cancellables_;
};

}  // namespace stowboard
