#pragma once

#include <QLineEdit>
#include <optional>

#include "Base/Unicode/Text.h"
#include "Models/AppLanguage.h"
#include "Platform/Pasteboard.h"

namespace stowboard {

/// A text field that never waits for the owner of a clipboard or of dragged text, as the toolkit's
/// own does, for many seconds where that one hangs: it pastes what the program knows already, and
/// takes no primary selection and nothing that is dropped. Its menu is in the interface's language.
/// Main thread.
class TextField : public QLineEdit {
 public:
  /// The pasteboard must outlive it.
  explicit TextField(const Pasteboard& pasteboard);

  void setLanguage(AppLanguage language) { language_ = language; }

 protected:
  void keyPressEvent(QKeyEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void contextMenuEvent(QContextMenuEvent* event) override;

 private:
  std::optional<Text> clipboardText() const;
  void pasteText(const Text& text);
  void endUndoStep();

  const Pasteboard& pasteboard_;
  AppLanguage language_ = AppLanguage::english;
};

}  // namespace stowboard
