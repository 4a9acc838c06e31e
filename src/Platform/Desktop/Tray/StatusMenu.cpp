#include "Platform/Desktop/Tray/StatusMenu.h"

#include <QMenu>
#include <algorithm>

namespace stowboard {

namespace {

// An ampersand would underline the next letter.
QString label(const StatusMenuEntry& entry) {
  return QString::fromStdString(entry.title).replace('&', QLatin1String("&&"));
}

void add(QMenu& menu, const StatusMenuEntry& entry) {
  QAction* action = menu.addAction(label(entry));
  action->setEnabled(entry.isEnabled());
  if (!entry.keyEquivalent.empty()) {
    action->setShortcut(QKeySequence(QString::fromStdString("Ctrl+" + entry.keyEquivalent)));
    action->setShortcutVisibleInContextMenu(true);
  }
  if (entry.action) QObject::connect(action, &QAction::triggered, action, entry.action);
}

}  // namespace

bool haveSameLook(const StatusMenu& left, const StatusMenu& right) {
  return std::ranges::equal(left, right, [](const auto& one, const auto& other) {
    return one.title == other.title && one.isEnabled() == other.isEnabled();
  });
}

void fill(QMenu& menu, const StatusMenu& entries) {
  menu.clear();
  for (const StatusMenuEntry& entry : entries) {
    entry.isSeparator() ? static_cast<void>(menu.addSeparator()) : add(menu, entry);
  }
}

}  // namespace stowboard
