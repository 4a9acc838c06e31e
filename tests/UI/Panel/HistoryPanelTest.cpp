#include "UI/Panel/HistoryPanel.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QCursor>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QLineEdit>
#include <memory>
#include <utility>

#include "UI/Controls/PopoverWindow.h"
#include "fakes/Clips.h"
#include "fakes/FakePlatform.h"

namespace stowboard {
namespace {

struct FakeCompositing : Compositing {
  bool isRunning() const override { return runs; }
  bool runs = false;
};

struct FakeTransientWindows : TransientWindows {
  void prepareToShow(std::uint64_t /*window*/, int shadowMargin) override { margin = shadowMargin; }
  std::unique_ptr<Watch> watch(std::uint64_t /*window*/, std::function<void()> clicked) override {
    struct Watching : Watch {
      explicit Watching(bool& flag) : isWatching(flag) { isWatching = true; }
      ~Watching() override { isWatching = false; }
      bool& isWatching;
    };
    press = std::move(clicked);
    auto made = std::make_unique<Watching>(isWatching);
    current = made.get();
    return made;
  }
  void clickOutside() const {
    press();
    release();
  }
  void release() const {
    if (!isWatching) return;
    if (const auto callback = current->onRelease) callback();
  }
  std::function<void()> press;
  Watch* current = nullptr;
  bool isWatching = false;
  int margin = -1;
};

/// A panel on the toolkit's desktop in memory, and what it asks of that.
struct Opened {
  Opened() {
    fake.platform.compositing.reset(compositing);
    fake.platform.transientWindows.reset(windows);
    panel = std::make_unique<HistoryPanel>(state, nullptr, fake.platform);
    for (auto* each : QApplication::topLevelWidgets()) {
      if (auto* popover = dynamic_cast<PopoverWindow*>(each)) window = popover;
    }
    field = window->findChild<QLineEdit*>();
  }

  void type(int key, const QString& text = {}) const {
    QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier, text);
    QApplication::sendEvent(field, &press);
  }
  QRect panelOnScreen() const { return window->panelRect().translated(window->pos()); }

  FakePlatform fake;
  FakeCompositing* compositing = new FakeCompositing;
  FakeTransientWindows* windows = new FakeTransientWindows;
  std::shared_ptr<AppState> state =
      std::make_shared<AppState>(textClips({"one", "two"}), AppSettings());
  std::unique_ptr<HistoryPanel> panel;
  PopoverWindow* window = nullptr;
  QLineEdit* field = nullptr;
};

TEST(HistoryPanel, ClosesInEveryWayAndStartsAnewAtEachOpening) {
  Opened opened;
  const struct {
    const char* way;
    std::function<void()> close;
    const char* front;
  } rows[] = {
      {"asked to", [&] { opened.panel->close(); }, "editor"},
      {"Escape", [&] { opened.type(Qt::Key_Escape); }, "editor"},
      {"a click outside", [&] { opened.windows->clickOutside(); }, "another"},
      {"the window manager", [&] { opened.window->close(); }, "another"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.way);
    opened.fake.workspace().bringToFront("editor");
    opened.panel->showAtCursor();
    opened.fake.workspace().bringToFront("another");
    EXPECT_TRUE(opened.panel->isVisible() && opened.state->isPanelVisible());
    EXPECT_TRUE(opened.windows->isWatching);
    EXPECT_EQ(opened.field->text(), "");
    opened.type(Qt::Key_T, "t");
    EXPECT_EQ(opened.field->text(), "t");
    row.close();
    EXPECT_FALSE(opened.panel->isVisible() || opened.state->isPanelVisible());
    EXPECT_FALSE(opened.windows->isWatching);
    opened.panel->close();
    EXPECT_EQ(opened.fake.workspace().frontmostApplication()->bundleIdentifier, row.front);
  }
}

TEST(HistoryPanel, AClickOnItsButtonClosesItForGood) {
  Opened opened;
  const QRect button(100, 100, 22, 22);
  opened.panel->showRelativeTo(button);
  opened.windows->clickOutside();
  opened.panel->showRelativeTo(button);
  EXPECT_FALSE(opened.panel->isVisible());
  opened.panel->showRelativeTo(button);
  EXPECT_TRUE(opened.panel->isVisible());
  // However long the button is held, and another one with it.
  opened.windows->press();
  opened.windows->press();
  opened.fake.runLoop().advance(std::chrono::seconds(1));
  opened.windows->release();
  opened.panel->showRelativeTo(button);
  EXPECT_FALSE(opened.panel->isVisible());
  opened.panel->showRelativeTo(button);
  // The report of the click may be quicker than that of the release.
  opened.windows->press();
  opened.panel->showRelativeTo(button);
  EXPECT_FALSE(opened.panel->isVisible());
  opened.panel->showRelativeTo(button);
  EXPECT_TRUE(opened.panel->isVisible());
  // The hot key opens it, however soon after a click.
  opened.windows->clickOutside();
  opened.panel->showAtCursor();
  EXPECT_TRUE(opened.panel->isVisible());
}

TEST(HistoryPanel, AClickOnWhatAnInputMethodOffersLeavesItOpen) {
  Opened opened;
  opened.panel->showAtCursor();
  for (const bool isComposing : {true, false}) {
    QInputMethodEvent event(isComposing ? "ni" : "", {});
    QApplication::sendEvent(opened.field, &event);
    opened.windows->clickOutside();
    EXPECT_EQ(opened.panel->isVisible(), isComposing);
  }
}

TEST(HistoryPanel, KeepsItsPlaceWithAndWithoutAShadow) {
  Opened opened;
  QCursor::setPos(400, 200);
  QRect plain;
  for (const bool isCompositing : {false, true, false}) {
    opened.compositing->runs = isCompositing;
    opened.panel->showRelativeTo(QRect());
    if (plain.isNull()) plain = opened.panelOnScreen();
    EXPECT_EQ(opened.panelOnScreen(), plain);
    EXPECT_GT(plain.top(), 200);
    EXPECT_NEAR(plain.center().x(), 400, 1);
    EXPECT_EQ(opened.windows->margin > 0, isCompositing);
    // Nothing behind shows through the corners where nothing is blended.
    const QImage picture = opened.window->grab().toImage();
    EXPECT_EQ(picture.pixelColor(opened.window->panelRect().topLeft()).alpha() == 255,
              !isCompositing);
    opened.compositing->runs = false;
    opened.compositing->onDidChange();
    EXPECT_EQ(opened.windows->margin, 0);
    EXPECT_EQ(opened.panelOnScreen(), plain);
    opened.panel->close();
  }
}

TEST(PopoverWindow, IsPlacedByItsAnchorAndWhollyOnScreen) {
  const QSize panel(480, 300);
  // A monitor to the right of another, with a task bar of 30 at one side.
  const QRect below(1000, 0, 1280, 770);
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
      {"a tray at the top", {2100, 4, 22, 22}, {1000, 30, 1280, 770}, {1800, 30}},
      {"a tray at the left", {1004, 600, 22, 22}, {1030, 0, 1250, 800}, {1030, 296}},
      {"less room than it takes", {1100, 100, 1, 1}, {1000, 0, 400, 200}, {1000, 0}},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(PopoverWindow::placed(panel, row.anchor, row.available).topLeft(), row.expected)
        << row.what;
  }
}

}  // namespace
}  // namespace stowboard
