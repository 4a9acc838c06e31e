#include "Platform/Desktop/Tray/ToolkitMenu.h"

#include <utility>

namespace stowboard {

namespace {

// An ampersand would underline the next letter.
QString label(const StatusMenuEntry& entry) {
  return QString::fromStdString(entry.title).replace('&', QLatin1String("&&"));
}

}  // namespace

ToolkitMenu::ToolkitMenu(std::function<StatusMenu()> menu) {
  connect(this, &QMenu::aboutToShow, this, [this, menu = std::move(menu)] {
    clear();
    for (const StatusMenuEntry& entry : menu()) add(entry);
  });
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
