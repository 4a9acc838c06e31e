#pragma once

#include <functional>
#include <string>

#include "UI/Controls/TextField.h"
#include "UI/Panel/PanelCommand.h"

namespace stowboard {

/// The text field of the history panel, which keeps the focus and so hears every key of the panel.
/// While an input method composes, the keys that would be commands belong to it. Main thread.
class SearchField : public TextField {
 public:
  /// Longer pastes are cut.
  static constexpr int maxQueryLength = 1024;

  explicit SearchField(const Pasteboard& pasteboard);

  void showTexts(AppLanguage language);

  /// The text as UTF-8, with the line breaks that a paste may have brought.
  std::string query() const;
  /// Shows a query without announcing it. Does nothing when it is the one shown.
  void showQuery(const std::string& query);
  /// Takes the focus, and forgets what an input method has left unfinished. Letters typed with
  /// modifiers that are held since then, as a hot key's may be, are text all the same.
  void beginEditing();
  /// Whether an input method holds text that is not in the query yet.
  bool isComposing() const { return isComposing_; }

  /// Both absent at first. The text has changed by what the user did.
  std::function<void(const std::string& query)> onQueryChange;
  std::function<void(const PanelCommand&)> onCommand;

 protected:
  bool event(QEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void inputMethodEvent(QInputMethodEvent* event) override;

 private:
  void edit(QKeyEvent* event);
  bool isTypedWithinHotKey(const QKeyEvent& event);

  Qt::KeyboardModifiers heldModifiers_;
  bool isComposing_ = false;
};

}  // namespace stowboard
