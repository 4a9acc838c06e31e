#pragma once

#include <QColor>
#include <QImage>
#include <QPixmap>
#include <QRectF>

class QPainter;

namespace stowboard {

/// The symbols that the windows show, each one shape in one colour.
enum class Symbol {
  magnifyingGlass,
  clearField,  ///< A filled disc with a cross.
  clipboard,
  plainText,
  richText,
  photo,
  checkmark,  ///< A filled disc with a check mark.
  warning,    ///< A filled triangle with an exclamation mark.
};

/// An image of this width and height that nothing is drawn on.
QImage emptySquare(int pixels);

/// Draws symbols from the desktop's icon theme, and from the program's own drawings where the theme
/// has none, so none is ever missing. Main thread.
class Icons {
 public:
  Icons() = delete;

  /// The symbol in one colour, `size` wide and high in device-independent pixels, crisp at the
  /// ratio. Kept: asking again costs a look-up, until the icon theme changes.
  static QPixmap pixmap(Symbol symbol, int size, const QColor& color, qreal devicePixelRatio);

  /// Draws it centred in the rectangle, `size` wide and high.
  static void paint(QPainter& painter, const QRectF& rect, Symbol symbol, int size,
                    const QColor& color);
};

}  // namespace stowboard
