#pragma once

#include <QColor>
#include <QPalette>

class QWidget;

namespace stowboard {

/// What WCAG 2.1 asks of small text.
constexpr double readableContrast = 4.5;
/// How much of the text's colour there is at least in secondary text on the selection.
constexpr double secondaryShare = 0.8;

/// As WCAG 2.1 defines it, from 1 to 21.
double contrast(const QColor& first, const QColor& second);
/// One colour laid over another, as if it were transparent but for this share.
QColor mixed(const QColor& over, const QColor& under, double share);

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
  /// What the rows of a form lie on. Dark palettes have their darkest colour in the base, where a
  /// group is to stand out from the window.
  QColor formGround() const;
  /// Laid over the background of every second row.
  QColor alternateRow() const;
  /// Stands for a picture that is still being read.
  QColor placeholder() const;
  QColor selection() const;
  QColor primaryOnSelection() const;
  QColor secondaryOnSelection() const;
  /// What something is written on, and in.
  struct Pair {
    QColor ground, text;
  };
  /// A shortcut's badge: orange at 15 %, and on the selection its colours the other way round.
  Pair badge(bool isOnSelection) const;
  /// What the search has found in a text.
  Pair match(bool isOnSelection) const;
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
