#pragma once

#include <QFont>

class QWidget;

namespace stowboard {

/// The text styles of the windows, each derived from the desktop's application font. Chinese that
/// the font does not hold is shown in Simplified Chinese glyphs. Main thread.
class Fonts {
 public:
  Fonts() = delete;

  static QFont body(const QFont& application);
  /// Gives a window the families of the body only, so that its size goes on following the
  /// desktop's.
  static void useFamilies(QWidget& window);
  /// 12/13 of the body's size.
  static QFont callout(const QFont& application);
  /// 10/13 of the body's size, and at least 10 pixels.
  static QFont caption(const QFont& application);
};

}  // namespace stowboard
