#pragma once

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QTimer>
#include <functional>

namespace stowboard {

/// A Qt application object for one test.
struct QtApplication {
  int argc = 1;
  char name[5] = "test";
  char* argv[2] = {name, nullptr};
  QCoreApplication application{argc, argv};
};

/// Turns Qt's event loop until the condition holds, which is looked at after every turn and every
/// few milliseconds; false when it does not hold for half a minute.
inline bool turnQtUntil(const std::function<bool()>& condition) {
  QTimer look;
  look.start(5);
  for (const QDeadlineTimer end(30'000); !condition();) {
    if (end.hasExpired()) return false;
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
  }
  return true;
}

}  // namespace stowboard
