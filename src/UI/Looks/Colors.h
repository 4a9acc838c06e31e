#pragma once

#include <QColor>
#include <QPalette>

class QWidget;

namespace stowboard {

/// The colours of the windows that the toolkit's palette has no role for, each made for one palette
/// so that it reads well on it, light or dark. A palette tells of high contrast by a placeholder
/// colour that equals its text's.
class Colors {
 public:
  using Getter = QColor (Colors::*)() const;

  explicit Colors(const QPalette& palette) : palette_(palette) {}

  QColor primary() const;
  QColor secondary() const;
  /// Lines between parts, outlines of key caps.
  QColor separator() const;
  QColor controlBackground() const;
  /// Laid over the background of every second row.
  QColor alternateRow() const;
  /// Stands for a picture that is still being read.
  QColor placeholder() const;
  QColor selection() const;
  QColor primaryOnSelection() const;
  QColor secondaryOnSelection() const;
  /// A shortcut's badge: orange at 15 %.
  QColor badge() const;
  QColor red() const;
  QColor green() const;
  QColor orange() const;

  bool isDark() const;
  bool isHighContrast() const;

 private:
  QPalette palette_;
};

/// Gives one role of a widget's palette a colour of ours, which goes on following the others. Main
/// thread.
void tint(QWidget& widget, QPalette::ColorRole role, Colors::Getter color);

/// Draws a control's outline where the palette has high contrast, as styles derive the frames of
/// controls from the colours of the window, which leaves none on black. To be called at the end of
/// the control's paintEvent(); draws nothing otherwise, nor on the focused control, which styles
/// mark by the highlight. Main thread.
void paintHighContrastFrame(QWidget& control);

}  // namespace stowboard
