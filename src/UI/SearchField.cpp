#include "UI/SearchField.h"

#include <QContextMenuEvent>
#include <QGuiApplication>
#include <QInputMethod>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QSignalBlocker>
#include <algorithm>

#include "UI/EditMenu.h"
#include "Utils/L10n.h"

namespace stowboard {

SearchField::SearchField(QWidget* parent) : QLineEdit(parent) {
  setFrame(false);
  setMaxLength(maxQueryLength);
  QPalette clear;
  clear.setColor(QPalette::Base, Qt::transparent);
  setPalette(clear);
  connect(this, &QLineEdit::textChanged, this, [this] {
    if (onQueryChange) onQueryChange(query());
  });
}

void SearchField::setLanguage(AppLanguage language) {
  language_ = language;
  setPlaceholderText(QString::fromUtf8(L10n::searchPlaceholder(language)));
  setAccessibleName(QString::fromUtf8(L10n::searchField(language)));
}

std::string SearchField::query() const {
  QString typed = text();
  // The bound may have cut a character in two.
  if (!typed.isEmpty() && typed.back().isHighSurrogate()) typed.chop(1);
  return typed.toStdString();
}

void SearchField::showQuery(const std::string& query) {
  if (query == this->query()) return;
  const QSignalBlocker blocker(this);
  setText(QString::fromStdString(query));
}

void SearchField::beginEditing() {
  if (isComposing_) QGuiApplication::inputMethod()->reset();
  isComposing_ = false;
  setFocus(Qt::ActiveWindowFocusReason);
}

bool SearchField::event(QEvent* event) {
  // No shortcut of the program takes a key that the panel has a use for.
  if (event->type() == QEvent::ShortcutOverride &&
      PanelCommand::of(*static_cast<QKeyEvent*>(event))) {
    event->accept();
    return true;
  }
  return QLineEdit::event(event);
}

void SearchField::keyPressEvent(QKeyEvent* event) {
  const auto command = PanelCommand::of(*event);
  if (!command) return edit(event);
  event->accept();
  if (isComposing_ || (event->isAutoRepeat() && !command->repeats())) return;
  if (onCommand) onCommand(*command);
}

void SearchField::edit(QKeyEvent* event) {
  if (event->modifiers().testFlag(Qt::MetaModifier)) {
    // Super stands in for Ctrl, and so types nothing.
    QKeyEvent withControl(event->type(), event->key(),
                          (event->modifiers() & ~Qt::MetaModifier) | Qt::ControlModifier);
    return editOrPaste(&withControl);
  }
  editOrPaste(event);
}

void SearchField::editOrPaste(QKeyEvent* event) {
  if (!event->matches(QKeySequence::Paste)) return QLineEdit::keyPressEvent(event);
  if (const auto text = clipboardText ? clipboardText() : std::nullopt) pasteText(*text);
}

void SearchField::pasteText(const Text& text) {
  // A code unit of the field takes at most three bytes; of a long text only the start is read.
  constexpr std::size_t longest = 4 * maxQueryLength;
  endUndoStep();
  insert(QString::fromUtf8(text.view().substr(0, longest)));
  endUndoStep();
}

// Undoing takes back in one step what was entered without a move of the cursor.
void SearchField::endUndoStep() {
  if (hasSelectedText()) return;
  const int place = cursorPosition();
  setCursorPosition(place > 0 ? 0 : static_cast<int>(text().size()));
  setCursorPosition(place);
}

void SearchField::contextMenuEvent(QContextMenuEvent* event) {
  const auto text = clipboardText ? clipboardText() : std::nullopt;
  const auto paste = [this, text] { pasteText(*text); };
  const bool canPaste = text && !text->empty();
  showEditMenu(*this, event->globalPos(), language_,
               canPaste ? std::function<void()>(paste) : nullptr);
}

void SearchField::inputMethodEvent(QInputMethodEvent* event) {
  isComposing_ = !event->preeditString().isEmpty();
  QLineEdit::inputMethodEvent(event);
}

}  // namespace stowboard
