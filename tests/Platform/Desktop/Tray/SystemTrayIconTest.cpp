#include "Platform/Desktop/Tray/SystemTrayIcon.h"

#include <xcb/xtest.h>

#include <QApplication>
#include <QEvent>
#include <QMenu>
#include <QSystemTrayIcon>
#include <QWindow>

#include "Platform/QtTurns.h"
#include "Platform/X11/OtherPrograms.h"
#include "Platform/X11/X11Connection.h"
#include "contract/StatusItemContract.h"

namespace stowboard {
namespace {

class Toolkit : public ::testing::Environment {
 public:
  void SetUp() override { application_ = std::make_unique<QApplication>(argc_, argv_); }
  void TearDown() override { application_.reset(); }

 private:
  int argc_ = 1;
  char name_[5] = "test";
  char* argv_[2] = {name_, nullptr};
  std::unique_ptr<QApplication> application_;
};
[[maybe_unused]] const auto* const toolkit = ::testing::AddGlobalTestEnvironment(new Toolkit);

/// An X11 desktop with a system tray, whose user clicks with a real pointer.
class SystemTrayHarness final : public QObject {
 public:
  SystemTrayHarness() {
    EXPECT_TRUE(turnUntil([] { return QSystemTrayIcon::isSystemTrayAvailable(); }));
  }

  StatusItem& item() { return item_; }

  std::optional<std::vector<std::string>> menu() {
    if (icon() == nullptr) return std::nullopt;
    std::vector<std::string> titles;
    for (const QAction* action : filledMenu()->actions()) {
      titles.push_back(action->text().replace("&&", "&").toStdString());
    }
    return titles;
  }
  // The tray may still move it: what is under the pointer is told by the icon itself.
  void click() {
    icon()->installEventFilter(this);
    EXPECT_TRUE(turnUntil([this] {
      send(XCB_MOTION_NOTIFY, 0);
      return isUnderPointer_;
    }));
    send(XCB_BUTTON_PRESS, 1);
    send(XCB_BUTTON_RELEASE, 1);
    EXPECT_TRUE(turnUntil([this] { return isClicked_; }));
  }
  void choose(const std::string& title) {
    const auto titles = menu().value();
    const auto place = std::ranges::find(titles, title) - titles.begin();
    filledMenu()->actions().at(place)->trigger();
  }
  bool turnUntil(const std::function<bool()>& condition) { return turnQtUntil(condition); }

 private:
  bool eventFilter(QObject* /*watched*/, QEvent* event) override {
    if (event->type() == QEvent::Enter) isUnderPointer_ = true;
    if (event->type() == QEvent::Leave) isUnderPointer_ = false;
    if (event->type() == QEvent::MouseButtonRelease) isClicked_ = true;
    return false;
  }
  void send(std::uint8_t type, std::uint8_t detail) {
    const QPoint at = icon()->mapToGlobal(icon()->rect().center());
    nudge_ = type == XCB_MOTION_NOTIFY ? -nudge_ : nudge_;
    xcb_test_fake_input(user_->xcb(), type, detail, XCB_CURRENT_TIME, user_->root(),
                        static_cast<std::int16_t>(at.x() + nudge_),
                        static_cast<std::int16_t>(at.y()), 0);
    xcb_flush(user_->xcb());
  }
  // Its widget is the toolkit's own; null until the tray has given it a place.
  static QWidget* icon() {
    for (QWidget* each : QApplication::topLevelWidgets()) {
      const bool isIcon = each->inherits("QSystemTrayIconSys");
      if (isIcon && each->isVisible() && each->windowHandle()->isExposed()) return each;
    }
    return nullptr;
  }
  // It is filled when it is about to show.
  static QMenu* filledMenu() {
    QMenu* found = nullptr;
    for (QWidget* each : QApplication::topLevelWidgets()) {
      if (auto* menu = qobject_cast<QMenu*>(each)) found = menu;
    }
    emit found->aboutToShow();
    return found;
  }

  Program tray_{{"trayer", "--edge", "top", "--align", "left", "--widthtype", "request"}};
  std::unique_ptr<X11Connection> user_ = X11Connection::open("");
  SystemTrayIcon item_;
  int nudge_ = 2;
  bool isUnderPointer_ = false;
  bool isClicked_ = false;
};

INSTANTIATE_TYPED_TEST_SUITE_P(SystemTray, StatusItemContract, SystemTrayHarness);

}  // namespace
}  // namespace stowboard
