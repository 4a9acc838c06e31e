#pragma once

#include <QApplication>
#include <QKeyEvent>
#include <QWidget>

namespace stowboard {

/// Closes the program's open menus and lists as soon as Super or Alt goes down. They hold the whole
/// keyboard, so that no hot key could be heard while one is open. For installation on the
/// application as an event filter. Main thread.
class MenuYielding : public QObject {
 public:
  bool eventFilter(QObject* watched, QEvent* event) override {
    if (event->type() == QEvent::KeyPress && startsHotKey(static_cast<QKeyEvent*>(event)->key())) {
      while (QWidget* menu = QApplication::activePopupWidget()) {
        if (!menu->close()) break;
      }
    }
    return QObject::eventFilter(watched, event);
  }

 private:
  static bool startsHotKey(int key) {
    return key == Qt::Key_Super_L || key == Qt::Key_Super_R || key == Qt::Key_Meta ||
           key == Qt::Key_Alt;
  }
};

}  // namespace stowboard
