#pragma once

#include <QGuiApplication>
#include <QScreen>
#include <algorithm>

namespace stowboard {

/// Runs the operation, on a later turn, each time that a screen may have got another density, as
/// when the user chooses another text scaling; as long as the owner lives. The toolkit goes on
/// drawing open windows in as many pixels as they had before. Main thread.
template <typename Operation>
void whenDensityChanges(QObject* owner, Operation operation) {
  // Older toolkits tell it as such, newer ones as another size of the screen.
  const auto watch = [owner, operation](const QScreen* screen) {
    QObject::connect(screen, &QScreen::logicalDotsPerInchChanged, owner, operation,
                     Qt::QueuedConnection);
    QObject::connect(screen, &QScreen::geometryChanged, owner, operation, Qt::QueuedConnection);
  };
  std::ranges::for_each(QGuiApplication::screens(), watch);
  QObject::connect(qApp, &QGuiApplication::screenAdded, owner, watch);
}

}  // namespace stowboard
