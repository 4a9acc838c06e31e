#include "UI/Controls/EditMenu.h"

#include <QKeySequence>
#include <QLineEdit>
#include <QMenu>
#include <string_view>
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

void showEditMenu(QLineEdit& field, const QPoint& at, AppLanguage language,
                  std::function<void()> paste) {
  auto* menu = new QMenu(&field);
  menu->setAttribute(Qt::WA_DeleteOnClose);
  const bool hasSelection = field.hasSelectedText();
  add(*menu, L10n::undo(language), QKeySequence::Undo, field.isUndoAvailable(),
      [&field] { field.undo(); });
  add(*menu, L10n::redo(language), QKeySequence::Redo, field.isRedoAvailable(),
      [&field] { field.redo(); });
  menu->addSeparator();
  add(*menu, L10n::cut(language), QKeySequence::Cut, hasSelection, [&field] { field.cut(); });
  add(*menu, L10n::copy(language), QKeySequence::Copy, hasSelection, [&field] { field.copy(); });
  const bool canPaste = paste != nullptr;
  add(*menu, L10n::paste(language), QKeySequence::Paste, canPaste, std::move(paste));
  menu->addSeparator();
  add(*menu, L10n::selectAll(language), QKeySequence::SelectAll,
      field.selectedText().size() < field.text().size(), [&field] { field.selectAll(); });
  menu->popup(at);
}

}  // namespace stowboard
