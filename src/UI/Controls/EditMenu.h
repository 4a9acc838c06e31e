#pragma once

#include <functional>

#include "Models/AppLanguage.h"

class QLineEdit;
class QPoint;

namespace stowboard {

/// Opens the menu of a text field's right mouse button, in place of the toolkit's: that one is in
/// the system's language and waits for the clipboard's owner before it opens. `at` is in global
/// coordinates. `paste` is absent where there is nothing to paste; the field outlives the menu.
/// Main thread.
void showEditMenu(QLineEdit& field, const QPoint& at, AppLanguage language,
                  std::function<void()> paste);

}  // namespace stowboard
