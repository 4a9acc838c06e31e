#include "Platform/Desktop/Tray/ToolkitMenu.h"

#include <QKeyEvent>
#include <utility>

namespace stowboard {

namespace {

// An ampersand would underline the next letter.
QString label(const StatusMenuEntry& entry) {
  return QString::fromStdString(entry.title).replace('&', QLatin1String("&&"));
}

// A sign may need Shift to be typed, a letter does not.
bool chooses(const QKeyEvent& event, const QAction& action) {
  if (!action.isEnabled() || action.shortcut().isEmpty()) return false;
  const QKeyCombination wanted = action.shortcut()[0];
  const bool isLetter = wanted.key() >= Qt::Key_A && wanted.key() <= Qt::Key_Z;
  const auto ignored = isLetter ? Qt::NoModifier : Qt::ShiftModifier;
  return event.key() == wanted.key() &&
         (event.modifiers() & ~ignored) == wanted.keyboardModifiers();
}

}  // namespace

ToolkitMenu::ToolkitMenu(std::function<StatusMenu()> menu) {
  connect(this, &QMenu::aboutToShow, this, [this, menu = std::move(menu)] {
    clear();
    for (const StatusMenuEntry& entry : menu()) add(entry);
  });
}

// The toolkit asks for shortcuts in windows only, never in a menu that has the keyboard.
void ToolkitMenu::keyPressEvent(QKeyEvent* event) {
  for (QAction* action : actions()) {
    if (!chooses(*event, *action)) continue;
    close();
    return action->trigger();
  }
  QMenu::keyPressEvent(event);
}

void ToolkitMenu::add(const StatusMenuEntry& entry) {
  if (entry.isSeparator()) {
    addSeparator();
    return;
  }
  QAction* action = addAction(label(entry));
  action->setEnabled(entry.isEnabled());
  if (!entry.keyEquivalent.empty()) {
    action->setShortcut(QKeySequence(QString::fromStdString("Ctrl+" + entry.keyEquivalent)));
    action->setShortcutVisibleInContextMenu(true);
  }
  if (entry.action) connect(action, &QAction::triggered, action, entry.action);
}

}  // namespace stowboard
