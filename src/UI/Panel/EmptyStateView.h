#pragma once

#include <QWidget>

#include "UI/Looks/Icons.h"

class QLabel;

namespace stowboard {

/// What the history view shows in place of an empty list: a symbol over a line of text. Main
/// thread.
class EmptyStateView : public QWidget {
 public:
  explicit EmptyStateView(QWidget* parent);

  /// A text that is too long for a line is shortened in its middle; screen readers hear all of it.
  void show(Symbol symbol, const QString& text);
  /// To be called when the font, the palette or the density of the screen has changed.
  void updateLooks(const QFont& applicationFont);

 protected:
  void resizeEvent(QResizeEvent* event) override;

 private:
  void updateContent();

  Symbol symbol_ = Symbol::clipboard;
  QString text_;
  QLabel* icon_;
  QLabel* label_;
};

}  // namespace stowboard
