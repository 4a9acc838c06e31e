#include "UI/Controls/TextField.h"

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMouseEvent>

#include "UI/Controls/EditMenu.h"

namespace stowboard {

TextField::TextField(QWidget* parent) : QLineEdit(parent) { setAcceptDrops(false); }

void TextField::keyPressEvent(QKeyEvent* event) {
  if (!event->matches(QKeySequence::Paste)) return QLineEdit::keyPressEvent(event);
  if (const auto text = clipboardText ? clipboardText() : std::nullopt) pasteText(*text);
}

// The middle button would have the toolkit ask the owner of the primary selection.
void TextField::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() != Qt::MiddleButton) QLineEdit::mouseReleaseEvent(event);
}

void TextField::contextMenuEvent(QContextMenuEvent* event) {
  const auto text = clipboardText ? clipboardText() : std::nullopt;
  const auto paste = [this, text] { pasteText(*text); };
  const bool canPaste = text && !text->empty();
  showEditMenu(*this, event->globalPos(), language_,
               canPaste ? std::function<void()>(paste) : nullptr);
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
