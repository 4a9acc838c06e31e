#pragma once

#include <QApplication>
#include <QKeyEvent>
#include <QWidget>
#include <cstdint>

#include "Models/HotKeyConfig.h"
#include "Platform/HotKeyCenter.h"

namespace stowboard {

/// Closes the program's open menus and lists for a hot key of its own, and has it pressed. They
/// hold the whole keyboard, so that the system does not tell of it. For installation on the
/// application as an event filter. Main thread.
class MenuYielding : public QObject {
 public:
  /// The center must outlive it.
  explicit MenuYielding(HotKeyCenter& hotKeys) : hotKeys_(hotKeys) {}

  bool eventFilter(QObject* watched, QEvent* event) override {
    if (event->type() != QEvent::KeyPress) return QObject::eventFilter(watched, event);
    const auto& key = static_cast<const QKeyEvent&>(*event);
    if (!hotKeys_.pressInWindow(key.nativeScanCode(), maskOf(key.modifiers()))) return false;
    while (QWidget* menu = QApplication::activePopupWidget()) {
      if (!menu->close()) break;
    }
    return true;
  }

 private:
  static std::uint32_t maskOf(Qt::KeyboardModifiers held) {
    std::uint32_t mask = 0;
    if (held.testFlag(Qt::MetaModifier)) mask |= ModifierMask::command;
    if (held.testFlag(Qt::AltModifier)) mask |= ModifierMask::option;
    if (held.testFlag(Qt::ShiftModifier)) mask |= ModifierMask::shift;
    if (held.testFlag(Qt::ControlModifier)) mask |= ModifierMask::control;
    return mask;
  }

  HotKeyCenter& hotKeys_;
};

}  // namespace stowboard
