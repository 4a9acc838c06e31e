#pragma once

#include <QIcon>
#include <QImage>

namespace stowboard {

/// The status item's own drawing, which keeps its colours on light and dark panels; without it the
/// clipboard symbol, and without that the letters SB. Crisp at every size. Main thread.
QImage menuBarIcon(int size);

/// What stands for the application in window lists.
QIcon applicationIcon();

}  // namespace stowboard
