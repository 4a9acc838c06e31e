#pragma once

#include <QPalette>
#include <QString>

#include "Platform/DesktopAppearance.h"

namespace stowboard {

/// Makes the application's windows look as the user prefers. The desktop's own style and colours
/// are kept wherever they fit the preference already; else the program brings its own. Windows
/// follow at once, those that are open too. Main thread, with a QApplication.
///
/// At high contrast text, also that of placeholders, and lines have the full contrast (see Colors).
class Theme {
 public:
  /// The application must have the desktop's style and colours still.
  Theme();

  /// May be called as often as the preference changes.
  void apply(const Appearance& appearance);

  /// A palette whose selections and hints are readable, and a secondary colour on a selection too;
  /// as it is where they are already.
  static QPalette readable(QPalette palette);

  /// The program's own colours.
  static QPalette palette(bool isDark, Contrast contrast);

 private:
  const QString desktopStyle_;
};

}  // namespace stowboard
