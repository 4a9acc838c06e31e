#include "UI/Panel/HistoryPanel.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QCursor>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QLineEdit>
#include <QScreen>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "UI/Controls/PopoverWindow.h"
#include "fakes/Clips.h"

namespace stowboard {
namespace {

/// A panel on the toolkit's desktop in memory, and what it asks of that.
class Opened {
 public:
  Opened() {
    HistoryPanel::Desktop desktop;
    desktop.mainQueue = [](auto task) { task(); };
    desktop.isCompositing = [this] { return isCompositing; };
    desktop.bringToFront = [](auto) {};
    desktop.returnFocus = [this] { ++returnedFocus; };
    desktop.prepareToShow = [this](auto, int margin) { announcedMargin = margin; };
    desktop.watchClicksOutside = [this](auto, auto clicked) {
      clickOutside = std::move(clicked);
      auto watch = std::make_shared<int>();
      watch_ = watch;
      return watch;
    };
    panel = std::make_unique<HistoryPanel>(state, nullptr, std::move(desktop));
    for (auto* each : QApplication::topLevelWidgets()) {
      if (auto* popover = dynamic_cast<PopoverWindow*>(each)) window = popover;
    }
    field = window->findChild<QLineEdit*>();
  }

  bool isWatching() const { return !watch_.expired(); }
  void type(int key, const QString& text = {}) const {
    QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier, text);
    QApplication::sendEvent(field, &press);
  }
  QRect panelOnScreen() const { return window->panelRect().translated(window->pos()); }

  std::shared_ptr<AppState> state =
      std::make_shared<AppState>(AppState::Clips{textClip("one"), textClip("two")}, AppSettings());
  std::unique_ptr<HistoryPanel> panel;
  PopoverWindow* window = nullptr;
  QLineEdit* field = nullptr;
  std::function<void()> clickOutside;
  bool isCompositing = false;
  int returnedFocus = 0;
  int announcedMargin = -1;

 private:
  std::weak_ptr<int> watch_;
};

TEST(HistoryPanel, ClosesInEveryWayAndStartsAnewAtEachOpening) {
  Opened opened;
  const struct {
    const char* way;
    std::function<void()> close;
    int returnsFocus;
  } rows[] = {
      {"asked to", [&] { opened.panel->close(); }, 1},
      {"Escape", [&] { opened.type(Qt::Key_Escape); }, 1},
      {"a click outside", [&] { opened.clickOutside(); }, 0},
      {"another window",
       [&] {
         QEvent deactivation(QEvent::WindowDeactivate);
         QApplication::sendEvent(opened.window, &deactivation);
       },
       0},
      {"the window manager", [&] { opened.window->close(); }, 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.way);
    opened.returnedFocus = 0;
    opened.panel->showAtCursor();
    EXPECT_TRUE(opened.panel->isVisible() && opened.state->isPanelVisible());
    EXPECT_TRUE(opened.isWatching());
    EXPECT_EQ(opened.field->text(), "");
    opened.type(Qt::Key_T, "t");
    EXPECT_EQ(opened.field->text(), "t");
    row.close();
    EXPECT_FALSE(opened.panel->isVisible() || opened.state->isPanelVisible());
    EXPECT_FALSE(opened.isWatching());
    EXPECT_EQ(opened.returnedFocus, row.returnsFocus);
    opened.panel->close();
    EXPECT_EQ(opened.returnedFocus, row.returnsFocus) << "closed twice";
  }
}

TEST(HistoryPanel, AClickOnItsButtonClosesItForGood) {
  Opened opened;
  const QRect button(100, 100, 22, 22);
  opened.panel->showRelativeTo(button);
  opened.clickOutside();
  opened.panel->showRelativeTo(button);
  EXPECT_FALSE(opened.panel->isVisible());
  opened.panel->showRelativeTo(button);
  EXPECT_TRUE(opened.panel->isVisible());
  // The hot key opens it, however soon after a click.
  opened.clickOutside();
  opened.panel->showAtCursor();
  EXPECT_TRUE(opened.panel->isVisible());
}

TEST(HistoryPanel, AClickOnWhatAnInputMethodOffersLeavesItOpen) {
  Opened opened;
  opened.panel->showAtCursor();
  for (const bool isComposing : {true, false}) {
    QInputMethodEvent event(isComposing ? "ni" : "", {});
    QApplication::sendEvent(opened.field, &event);
    opened.clickOutside();
    EXPECT_EQ(opened.panel->isVisible(), isComposing);
  }
}

TEST(HistoryPanel, KeepsItsPlaceWithAndWithoutAShadow) {
  Opened opened;
  QCursor::setPos(400, 200);
  QRect plain;
  for (const bool isCompositing : {false, true, false}) {
    opened.isCompositing = isCompositing;
    opened.panel->showRelativeTo(QRect());
    if (plain.isNull()) plain = opened.panelOnScreen();
    EXPECT_EQ(opened.panelOnScreen(), plain);
    EXPECT_GT(plain.top(), 200);
    EXPECT_NEAR(plain.center().x(), 400, 1);
    EXPECT_EQ(opened.announcedMargin > 0, isCompositing);
    // Nothing behind shows through the corners where nothing is blended.
    const QImage picture = opened.window->grab().toImage();
    EXPECT_EQ(picture.pixelColor(opened.window->panelRect().topLeft()).alpha() == 255,
              !isCompositing);
    opened.isCompositing = false;
    opened.panel->compositingDidChange();
    EXPECT_EQ(opened.announcedMargin, 0);
    EXPECT_EQ(opened.panelOnScreen(), plain);
    opened.panel->close();
  }
}

TEST(PopoverWindow, IsPlacedByItsAnchorAndWhollyOnScreen) {
  const QSize panel(480, 300);
  // A monitor to the right of another, with a task bar of 30 at one side.
  const QRect below(1000, 0, 1280, 770);
  const QRect above(1000, 30, 1280, 770);
  const struct {
    const char* what;
    QRect anchor;
    QRect available;
    QPoint expected;
  } rows[] = {
      {"in the middle", {1600, 300, 1, 1}, below, {1361, 305}},
      {"no room below", {1600, 600, 1, 1}, below, {1361, 296}},
      {"top left corner", {1000, 0, 1, 1}, below, {1000, 5}},
      {"bottom right corner", {2279, 799, 1, 1}, below, {1800, 470}},
      {"a tray at the bottom", {2200, 775, 22, 22}, below, {1800, 470}},
      {"a tray at the top", {2100, 4, 22, 22}, above, {1800, 30}},
      {"a tray at the left", {1004, 600, 22, 22}, {1030, 0, 1250, 800}, {1030, 296}},
      {"a tray at the right", {2254, 100, 22, 22}, {1000, 0, 1250, 800}, {1770, 126}},
      {"less room than it takes", {1100, 100, 1, 1}, {1000, 0, 400, 200}, {1000, 0}},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(PopoverWindow::placed(panel, row.anchor, row.available).topLeft(), row.expected)
        << row.what;
  }
}

}  // namespace
}  // namespace stowboard
