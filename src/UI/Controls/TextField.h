#pragma once

#include <QLineEdit>
#include <functional>
#include <optional>

#include "Base/Unicode/Text.h"
#include "Models/AppLanguage.h"

namespace stowboard {

/// The text that is on the clipboard, without waiting for another program; absent when there is
/// none.
using ClipboardText = std::function<std::optional<Text>()>;

/// A text field that never waits for the owner of a clipboard or of dragged text, as the toolkit's
/// own does, for many seconds where that one hangs: it pastes what the program knows already, and
/// takes no primary selection and nothing that is dropped. Its menu is in the interface's language.
/// Main thread.
class TextField : public QLineEdit {
 public:
  explicit TextField(QWidget* parent);

  void setLanguage(AppLanguage language) { language_ = language; }

  /// Absent at first, and then nothing can be pasted.
  ClipboardText clipboardText;

 protected:
  void keyPressEvent(QKeyEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void contextMenuEvent(QContextMenuEvent* event) override;

 private:
  void pasteText(const Text& text);
  void endUndoStep();

  AppLanguage language_ = AppLanguage::english;
};

}  // namespace stowboard
