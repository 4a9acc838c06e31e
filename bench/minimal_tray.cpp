// What startup_bench.py measures Stowboard against: a Qt Widgets program that shows a tray icon and
// says when its event loop first turns.

#include <unistd.h>

#include <QApplication>
#include <QIcon>
#include <QPixmap>
#include <QSystemTrayIcon>
#include <QTimer>
#include <string_view>

int main(int argumentCount, char* arguments[]) {
  QApplication application(argumentCount, arguments);
  QApplication::setQuitOnLastWindowClosed(false);
  QPixmap pixmap(22, 22);
  pixmap.fill(Qt::darkGreen);
  QSystemTrayIcon trayIcon{QIcon(pixmap)};
  trayIcon.show();
  QTimer::singleShot(0, [] {
    constexpr std::string_view line = "first turn\n";
    [[maybe_unused]] const auto written = ::write(STDERR_FILENO, line.data(), line.size());
  });
  return QApplication::exec();
}
