#pragma once

#include <QPixmap>
#include <QRect>
#include <QWidget>
#include <functional>
#include <memory>

namespace stowboard {

/// A window without a frame above all others: a panel around a content of fixed size, with round
/// corners and a shadow where windows are composited, with a plain edge where they are not. It
/// shows and places itself; what closes it is decided by its owner. Main thread.
class PopoverWindow final : public QWidget {
 public:
  explicit PopoverWindow(std::unique_ptr<QWidget> content);

  /// Before each time that it is shown, and when that changes: makes it fit for compositing or for
  /// the lack of it, with the panel in its place. Creates the native window and draws the shadow,
  /// the first time and when that has changed.
  void prepare(bool isCompositing);

  /// Moves it next to the anchor, in global coordinates, on the anchor's screen.
  void placeBy(const QRect& anchor);

  /// Where a panel goes: below the anchor and centred on it, above where there is no room below,
  /// and wholly inside what is available, for a panel that fits in there.
  static QRect placed(const QSize& panel, const QRect& anchor, const QRect& available);

  bool isShadowed() const { return isShadowed_; }
  /// The margin around the panel that only the shadow is in, in pixels of the screen.
  int shadowMargin() const;
  /// The part of the window that the user sees as the panel, in the window's coordinates.
  QRect panelRect() const;

  /// Once an opening, when it is on screen and the window manager knows it.
  std::function<void()> onDidAppear;
  /// It has another size in pixels of the screen, while it is open.
  std::function<void()> onDidChangeDensity;
  /// Another window has become active, or none.
  std::function<void()> onDidResignActive;
  /// Whatever has closed it.
  std::function<void()> onDidClose;

 protected:
  bool event(QEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

 private:
  QSize panelSize() const;
  void setShadowed(bool isShadowed);
  void drawShadow();
  void fitDensity();

  QWidget* const content_;
  bool isShadowed_ = true;
  bool isAppearing_ = false;
  QPixmap shadow_;
};

}  // namespace stowboard
