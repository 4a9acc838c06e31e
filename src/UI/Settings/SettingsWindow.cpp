#include "UI/Settings/SettingsWindow.h"

#include <QApplication>
#include <QCursor>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QScreen>
#include <QVBoxLayout>
#include <QWindow>
#include <utility>

#include "UI/Controls/ScreenDensity.h"
#include "UI/Settings/SettingsView.h"

namespace stowboard {

SettingsWindow::SettingsWindow(std::unique_ptr<SettingsViewModel> viewModel,
                               const Platform& platform)
    : viewModel_(std::move(viewModel)),
      view_(std::make_unique<SettingsView>(*viewModel_, *platform.pasteboard)),
      focus_(*platform.workspace, *platform.bundle) {
  setWindowFlags(Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                 Qt::WindowSystemMenuHint | Qt::WindowMinimizeButtonHint |
                 Qt::WindowCloseButtonHint);
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(0, 0, 0, 0);
  column->setSizeConstraint(QLayout::SetFixedSize);
  column->addWidget(view_.get());
  whenDensityChanges(this, [this] { fitDensity(); });
}

void SettingsWindow::fitDensity() {
  if (QWindow* window = windowHandle()) window->resize(sizeHint());
}

SettingsWindow::~SettingsWindow() = default;

void SettingsWindow::setTitle(std::string_view title) { setWindowTitle(QString::fromUtf8(title)); }

void SettingsWindow::show() {
  if (!std::exchange(isPlaced_, true)) centerOnScreen();
  // Window managers do not know of one that has just been created; they may have put others away on
  // another desktop or in an icon, where nothing is exposed.
  const bool isKnown = isVisible();
  setWindowState(windowState() & ~Qt::WindowMinimized);
  QWidget::show();
  raise();
  // A question that is open keeps the keyboard.
  if (!QApplication::activeModalWidget()) activateWindow();
  isToComeToFront_ = true;
  windowHandle()->installEventFilter(this);
  if (isKnown || windowHandle()->isExposed()) askForFront();
}

void SettingsWindow::centerOnScreen() {
  const QScreen* screen = QGuiApplication::screenAt(QCursor::pos());
  if (!screen) screen = QGuiApplication::primaryScreen();
  QRect frame(QPoint(), sizeHint());
  frame.moveCenter(screen->availableGeometry().center());
  move(frame.topLeft());
}

void SettingsWindow::askForFront() {
  if (std::exchange(isToComeToFront_, false)) focus_.take(winId());
}

bool SettingsWindow::eventFilter(QObject* watched, QEvent* event) {
  if (watched == windowHandle() && event->type() == QEvent::Expose && windowHandle()->isExposed()) {
    askForFront();
  }
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
