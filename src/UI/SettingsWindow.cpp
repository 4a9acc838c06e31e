#include "UI/SettingsWindow.h"

#include <QCursor>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QScreen>
#include <QVBoxLayout>
#include <QWindow>
#include <utility>

#include "UI/SettingsView.h"

namespace stowboard {

SettingsWindow::SettingsWindow(std::unique_ptr<SettingsViewModel> viewModel)
    : viewModel_(std::move(viewModel)), view_(std::make_unique<SettingsView>(*viewModel_)) {
  setWindowFlags(Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                 Qt::WindowSystemMenuHint | Qt::WindowMinimizeButtonHint |
                 Qt::WindowCloseButtonHint);
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(0, 0, 0, 0);
  column->setSizeConstraint(QLayout::SetFixedSize);
  column->addWidget(view_.get());
}

SettingsWindow::~SettingsWindow() = default;

void SettingsWindow::setTitle(std::string_view title) { setWindowTitle(QString::fromUtf8(title)); }

void SettingsWindow::show() {
  if (!std::exchange(isPlaced_, true)) centerOnScreen();
  setWindowState(windowState() & ~Qt::WindowMinimized);
  QWidget::show();
  raise();
  activateWindow();
  isToComeToFront_ = true;
  windowHandle()->installEventFilter(this);
  bringToFrontIfShown();
}

void SettingsWindow::centerOnScreen() {
  const QScreen* screen = QGuiApplication::screenAt(QCursor::pos());
  if (!screen) screen = QGuiApplication::primaryScreen();
  QRect frame(QPoint(), sizeHint());
  frame.moveCenter(screen->availableGeometry().center());
  move(frame.topLeft());
}

// A window manager does not know of a window that has just been created.
void SettingsWindow::bringToFrontIfShown() {
  if (!windowHandle()->isExposed() || !std::exchange(isToComeToFront_, false)) return;
  if (bringToFront) bringToFront(winId());
}

bool SettingsWindow::eventFilter(QObject* watched, QEvent* event) {
  if (watched == windowHandle() && event->type() == QEvent::Expose) bringToFrontIfShown();
  return QWidget::eventFilter(watched, event);
}

void SettingsWindow::keyPressEvent(QKeyEvent* event) {
  if (event->matches(QKeySequence::Cancel) || event->matches(QKeySequence::Close)) {
    close();
    return;
  }
  QWidget::keyPressEvent(event);
}

}  // namespace stowboard
