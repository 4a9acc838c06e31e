#include "UI/Controls/TextField.h"

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>
#include <functional>
#include <utility>

#include "Utils/L10n.h"

namespace stowboard {

namespace {

// The keys are only shown: the field has them itself.
void add(QMenu& menu, std::string_view text, QKeySequence::StandardKey keys, bool isEnabled,
         std::function<void()> operation) {
  const QString title = QString::fromUtf8(text);
  const QString shown = QKeySequence(keys).toString(QKeySequence::NativeText);
  QAction* action = menu.addAction(title + u'\t' + shown);
  action->setEnabled(isEnabled);
  QObject::connect(action, &QAction::triggered, &menu, std::move(operation));
}

}  // namespace

TextField::TextField(const Pasteboard& pasteboard) : pasteboard_(pasteboard) {
  setAcceptDrops(false);
}

std::optional<Text> TextField::clipboardText() const {
  return pasteboard_.string(PasteboardType::string);
}

void TextField::keyPressEvent(QKeyEvent* event) {
  if (!event->matches(QKeySequence::Paste)) return QLineEdit::keyPressEvent(event);
  if (const auto text = clipboardText()) pasteText(*text);
}

// The middle button would have the toolkit ask the owner of the primary selection.
void TextField::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() != Qt::MiddleButton) QLineEdit::mouseReleaseEvent(event);
}

// In place of the toolkit's menu, which is in the system's language and waits for the clipboard's
// owner before it opens.
void TextField::contextMenuEvent(QContextMenuEvent* event) {
  auto* menu = new QMenu(this);
  menu->setAttribute(Qt::WA_DeleteOnClose);
  const auto pasted = clipboardText();
  add(*menu, L10n::undo(language_), QKeySequence::Undo, isUndoAvailable(), [this] { undo(); });
  add(*menu, L10n::redo(language_), QKeySequence::Redo, isRedoAvailable(), [this] { redo(); });
  menu->addSeparator();
  add(*menu, L10n::cut(language_), QKeySequence::Cut, hasSelectedText(), [this] { cut(); });
  add(*menu, L10n::copy(language_), QKeySequence::Copy, hasSelectedText(), [this] { copy(); });
  add(*menu, L10n::paste(language_), QKeySequence::Paste, pasted && !pasted->empty(),
      [this, pasted] { pasteText(*pasted); });
  menu->addSeparator();
  add(*menu, L10n::selectAll(language_), QKeySequence::SelectAll,
      selectedText().size() < text().size(), [this] { selectAll(); });
  menu->popup(event->globalPos());
}

void TextField::pasteText(const Text& text) {
  // A code unit of the field takes at most three bytes; of a long text only the start is read.
  const std::size_t longest = 4 * static_cast<std::size_t>(maxLength());
  endUndoStep();
  insert(QString::fromUtf8(text.view().substr(0, longest)));
  endUndoStep();
}

// Undoing takes back in one step what was entered without a move of the cursor.
void TextField::endUndoStep() {
  if (hasSelectedText()) return;
  const int place = cursorPosition();
  setCursorPosition(place > 0 ? 0 : static_cast<int>(text().size()));
  setCursorPosition(place);
}

}  // namespace stowboard
