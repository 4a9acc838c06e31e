#include "UI/Panel/SearchField.h"

#include <QGuiApplication>
#include <QInputMethod>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QSignalBlocker>

#include "Utils/L10n.h"

namespace stowboard {

SearchField::SearchField(const Pasteboard& pasteboard) : TextField(pasteboard) {
  setFrame(false);
  setMaxLength(maxQueryLength);
  QPalette clear;
  clear.setColor(QPalette::Base, Qt::transparent);
  setPalette(clear);
  connect(this, &QLineEdit::textChanged, this, [this] {
    if (onQueryChange) onQueryChange(query());
  });
}

void SearchField::showTexts(AppLanguage language) {
  setLanguage(language);
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
  heldModifiers_ = QGuiApplication::queryKeyboardModifiers();
  setFocus(Qt::ActiveWindowFocusReason);
}

bool SearchField::event(QEvent* event) {
  // No shortcut of the program takes a key that the panel has a use for.
  if (event->type() == QEvent::ShortcutOverride &&
      PanelCommand::of(*static_cast<QKeyEvent*>(event))) {
    event->accept();
    return true;
  }
  return TextField::event(event);
}

void SearchField::keyPressEvent(QKeyEvent* event) {
  const auto command = PanelCommand::of(*event);
  if (!command) return edit(event);
  event->accept();
  if (isComposing_ || (event->isAutoRepeat() && !command->repeats())) return;
  if (onCommand) onCommand(*command);
}

// A fast typist begins before the hot key is let go. What is held counts until it is first missing,
// or a modifier is pressed.
bool SearchField::isTypedWithinHotKey(const QKeyEvent& event) {
  constexpr auto typesNothing = Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier;
  if (event.modifiers() != heldModifiers_ || event.key() >= Qt::Key_Escape) heldModifiers_ = {};
  return heldModifiers_.testAnyFlags(typesNothing) &&
         QChar::isLetter(static_cast<char32_t>(event.key()));
}

void SearchField::edit(QKeyEvent* event) {
  if (isTypedWithinHotKey(*event)) {
    const char32_t letter = QChar::toLower(static_cast<char32_t>(event->key()));
    QKeyEvent alone(event->type(), event->key(), Qt::NoModifier, QString::fromUcs4(&letter, 1));
    return TextField::keyPressEvent(&alone);
  }
  if (event->modifiers().testFlag(Qt::MetaModifier)) {
    // Super stands in for Ctrl, and so types nothing.
    QKeyEvent withControl(event->type(), event->key(),
                          (event->modifiers() & ~Qt::MetaModifier) | Qt::ControlModifier);
    return TextField::keyPressEvent(&withControl);
  }
  TextField::keyPressEvent(event);
}

void SearchField::inputMethodEvent(QInputMethodEvent* event) {
  isComposing_ = !event->preeditString().isEmpty();
  TextField::inputMethodEvent(event);
}

}  // namespace stowboard
