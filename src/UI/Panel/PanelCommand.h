#pragma once

#include <optional>

class QKeyEvent;

namespace stowboard {

/// What a key of the history panel asks for.
struct PanelCommand {
  enum class Action {
    selectPrevious,
    selectNext,
    selectPageUp,
    selectPageDown,
    activateSelected,
    activateSelectedAsPlainText,
    removeSelected,
    activateDigit,
    close,
    openSettings,
  };

  Action action;
  /// 1 to 9, for `activateDigit`.
  int digit = 0;

  /// Whether a key that is held down asks again and again.
  bool repeats() const { return action <= Action::selectPageDown; }

  /// What a key press means; absent for the keys that edit the search text. Command is Ctrl or
  /// Super. A key of the digit row counts by its place where the layout has no digit on it.
  static std::optional<PanelCommand> of(const QKeyEvent& event);
};

}  // namespace stowboard
