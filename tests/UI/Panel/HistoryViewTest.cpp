#include "UI/Panel/HistoryView.h"

#include <gmock/gmock.h>

#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QContextMenuEvent>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMenu>
#include <QMouseEvent>

#include "Platform/QtTurns.h"
#include "fakes/Clips.h"
#include "fakes/FakePasteSimulator.h"

namespace stowboard {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class HistoryViewTest : public ::testing::Test {
 protected:
  explicit HistoryViewTest(int count = 30) {
    AppSettings settings;
    settings.maxRecords = 1000;
    AppState::Clips clips;
    for (int number = 1; number <= count; ++number)
      clips.push_back(textClip("clip " + std::to_string(number)));
    state_ = std::make_shared<AppState>(std::move(clips), settings);
    const auto later = [](auto task) {
      QMetaObject::invokeMethod(qApp, std::move(task), Qt::QueuedConnection);
    };
    model_ = std::make_unique<HistoryViewModel>(state_, &simulator_, later);
    view_ = std::make_unique<HistoryView>(state_, *model_);
    model_->reset();
    view_->show();
    view_->activateWindow();
    view_->viewDidAppear();
    turn();
  }

  // A change of the state reaches the view model on a later turn, and the view on one after it.
  void turn() {
    int turns = 0;
    for (int hop = 0; hop < 2; ++hop) {
      QMetaObject::invokeMethod(
          qApp, [&] { ++turns; }, Qt::QueuedConnection);
      EXPECT_TRUE(turnQtUntil([&] { return turns > hop; }));
    }
  }
  QLineEdit& field() { return *view_->findChild<QLineEdit*>(); }
  QListView& list() { return *view_->findChild<QListView*>(); }
  QAbstractButton& clearButton() { return *view_->findChild<QAbstractButton*>(); }
  void press(int key, Qt::KeyboardModifiers modifiers = {}, const QString& text = {}) {
    QKeyEvent event(QEvent::KeyPress, key, modifiers, text);
    QApplication::sendEvent(&field(), &event);
  }
  void type(const QString& text) {
    for (const QChar character : text) press(character.toUpper().unicode(), {}, character);
  }
  void mouse(QEvent::Type type, int row) {
    const QPointF place = list().visualRect(list().model()->index(row, 0)).center();
    QMouseEvent event(type, place, list().viewport()->mapToGlobal(place), Qt::LeftButton,
                      Qt::LeftButton, {});
    QApplication::sendEvent(list().viewport(), &event);
  }
  std::string accessibleName(QAccessibleInterface* part) {
    return part->text(QAccessible::Name).toStdString();
  }

  FakePasteSimulator simulator_;
  std::shared_ptr<AppState> state_;
  std::unique_ptr<HistoryViewModel> model_;
  std::unique_ptr<HistoryView> view_;
};

TEST_F(HistoryViewTest, KeysThatFollowEachOtherAtOnceActOnEachOthersResult) {
  EXPECT_TRUE(field().hasFocus());
  type("clip 2");
  press(Qt::Key_Down);
  press(Qt::Key_Return);
  EXPECT_THAT(simulator_.activated, ElementsAre("clip 20"));
  turn();
  EXPECT_EQ(list().model()->rowCount(), 11);
  EXPECT_EQ(list().currentIndex().row(), 1);
  press(Qt::Key_3, Qt::MetaModifier, "3");
  press(Qt::Key_Enter, Qt::KeypadModifier);
  EXPECT_THAT(simulator_.activated, ElementsAre("clip 20", "clip 21", "clip 20"));
  type("9");
  press(Qt::Key_2, Qt::ControlModifier);
  press(Qt::Key_2, Qt::MetaModifier, "2");
  EXPECT_EQ(simulator_.activated.size(), 3u) << "one clip is visible";
  EXPECT_EQ(model_->query(), "clip 29") << "Super types nothing";
}

TEST_F(HistoryViewTest, TheSelectedRowIsInView) {
  const auto isInView = [&] {
    turn();
    return list().viewport()->rect().contains(list().visualRect(list().currentIndex()));
  };
  for (int step = 0; step < 12; ++step) press(Qt::Key_Down);
  EXPECT_TRUE(isInView());
  press(Qt::Key_PageDown);
  EXPECT_GT(*model_->selectedIndex(), 14);
  EXPECT_TRUE(isInView());
  for (int page = 0; page < 5; ++page) press(Qt::Key_PageUp);
  EXPECT_EQ(model_->selectedIndex(), 0);
  EXPECT_TRUE(isInView());
  press(Qt::Key_Down);
  press(Qt::Key_Down);
  state_->append(textClip("new"));
  turn();
  EXPECT_EQ(list().currentIndex().row(), 0) << "a new clip takes the selection";
}

TEST_F(HistoryViewTest, KeysBelongToAnInputMethodWhileItComposes) {
  bool isClosing = false;
  model_->onRequestClose = [&] { isClosing = true; };
  QInputMethodEvent composing("ni", {});
  QApplication::sendEvent(&field(), &composing);
  for (const int key : {Qt::Key_Return, Qt::Key_Down, Qt::Key_Escape}) press(key);
  press(Qt::Key_1, Qt::ControlModifier);
  EXPECT_THAT(simulator_.activated, IsEmpty());
  EXPECT_EQ(model_->selectedIndex(), 0);
  EXPECT_FALSE(isClosing);
  QInputMethodEvent committed;
  committed.setCommitString("clip 7");
  QApplication::sendEvent(&field(), &committed);
  press(Qt::Key_Return);
  press(Qt::Key_Escape);
  EXPECT_THAT(simulator_.activated, ElementsAre("clip 7"));
  EXPECT_TRUE(isClosing);
}

TEST_F(HistoryViewTest, PastesIntoTheSearchWhatIsOnTheClipboard) {
  std::optional<Text> text;
  view_->clipboardText = [&] { return text; };
  type("cl");
  const auto paste = [&] { press(Qt::Key_V, Qt::ControlModifier); };
  paste();
  EXPECT_EQ(field().text(), "cl");
  text = Text("ip 7");
  paste();
  EXPECT_THAT(model_->visibleClips(), SizeIs(1));
  type("0");
  for (const char* before : {"clip 7", "cl"}) {
    press(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(field().text(), before) << "what was pasted is a step of its own";
  }
  field().home(false);
  paste();
  EXPECT_EQ(field().text(), "ip 7cl");
  field().selectAll();
  text = Text("é" + std::string(5000, 'x'));
  press(Qt::Key_Meta, Qt::NoModifier);
  press(Qt::Key_V, Qt::MetaModifier);
  EXPECT_EQ(field().text(), "é" + QString(1023, 'x'));
  auto settings = state_->settings();
  settings.language = AppLanguage::simplifiedChinese;
  state_->updateSettings(settings);
  turn();
  field().selectAll();
  QContextMenuEvent event(QContextMenuEvent::Mouse, QPoint(20, 5), field().mapToGlobal(QPoint()));
  QApplication::sendEvent(&field(), &event);
  const auto* menu = field().findChild<QMenu*>();
  QStringList titles;
  for (const QAction* each : menu->actions()) titles << each->text().section('\t', 0, 0);
  EXPECT_EQ(titles.join(' '), "撤销 重做  剪切 复制 粘贴  全选");
  menu->actions()[3]->trigger();
  EXPECT_EQ(field().text(), "");
  menu->actions()[5]->trigger();
  EXPECT_EQ(field().text(), "é" + QString(1023, 'x'));
}

TEST_F(HistoryViewTest, AClickActivatesTheRowThatItBeganOn) {
  mouse(QEvent::MouseButtonPress, 2);
  EXPECT_EQ(model_->selectedIndex(), 2);
  mouse(QEvent::MouseMove, 3);
  mouse(QEvent::MouseButtonRelease, 3);
  EXPECT_THAT(simulator_.activated, IsEmpty());
  mouse(QEvent::MouseButtonPress, 1);
  state_->append(textClip("new"));
  turn();
  mouse(QEvent::MouseButtonRelease, 1);
  EXPECT_THAT(simulator_.activated, IsEmpty()) << "another clip has come under the pointer";
  mouse(QEvent::MouseButtonPress, 1);
  mouse(QEvent::MouseButtonRelease, 1);
  EXPECT_THAT(simulator_.activated, ElementsAre("clip 1"));
  EXPECT_TRUE(field().hasFocus());
}

TEST_F(HistoryViewTest, ShowsWhyTheListIsEmpty) {
  const auto shown = [&]() -> std::string {
    turn();
    for (QLabel* label : view_->findChildren<QLabel*>())
      if (label->isVisible() && !label->accessibleName().isEmpty())
        return label->accessibleName().toStdString() + " / " + label->text().toStdString();
    return "";
  };
  EXPECT_EQ(shown(), "");
  EXPECT_FALSE(clearButton().isVisible());
  type("x\"y");
  EXPECT_EQ(shown(), "No results for \"x\"y\" / No results for \"x\"y\"");
  clearButton().click();
  EXPECT_EQ(shown(), "");
  EXPECT_EQ(field().text(), "");
  EXPECT_FALSE(clearButton().isVisible());
  field().insert("  \n" + QString(5000, u'q'));
  EXPECT_THAT(shown(), ::testing::MatchesRegex("No results for \"  \nq+\" / No .*…q+\""));
  EXPECT_LT(view_->findChildren<QLabel*>().back()->width(), HistoryView::size.width());
  state_->clearAll();
  model_->reset();
  auto settings = state_->settings();
  settings.language = AppLanguage::simplifiedChinese;
  state_->updateSettings(settings);
  EXPECT_EQ(shown(), "暂无剪贴板历史 / 暂无剪贴板历史");
  EXPECT_EQ(field().placeholderText(), "搜索历史记录…");
}

TEST_F(HistoryViewTest, KeepsNothingUnseenThatHasLeftTheHistory) {
  EXPECT_EQ(list().model()->rowCount(), 30);
  view_->hide();
  state_->clearAll();
  EXPECT_EQ(list().model()->rowCount(), 0);
}

TEST_F(HistoryViewTest, ScreenReadersHearNamesInTheLanguageOfTheSettings) {
  const auto rowName = [&](int row) {
    auto* table = QAccessible::queryAccessibleInterface(&list());
    return accessibleName(table->tableInterface()->cellAt(row, 0));
  };
  EXPECT_EQ(accessibleName(QAccessible::queryAccessibleInterface(&field())), "Search history");
  EXPECT_EQ(accessibleName(QAccessible::queryAccessibleInterface(&clearButton())), "Clear search");
  EXPECT_EQ(accessibleName(QAccessible::queryAccessibleInterface(&list())), "Clipboard history");
  EXPECT_THAT(rowName(0), ::testing::MatchesRegex("clip 1, [A-Z][a-z]+ [0-9]+, [0-9:]+, shortcut ⌘ "
                                                  "Command \\+ ⌥ Option \\+ 1"));
  EXPECT_THAT(rowName(9), ::testing::MatchesRegex("clip 10, [A-Z][a-z]+ [0-9]+, [0-9:]+"));
  auto settings = state_->settings();
  settings.language = AppLanguage::simplifiedChinese;
  settings.directPasteModifiers = ModifierMask::command | ModifierMask::shift;
  state_->updateSettings(settings);
  turn();
  EXPECT_THAT(rowName(1),
              ::testing::MatchesRegex("clip 2，.*月.*日 [0-9:]+，快捷键 ⌘ Command \\+ ⇧ "
                                      "Shift \\+ 2"));
  EXPECT_EQ(accessibleName(QAccessible::queryAccessibleInterface(&list())), "剪贴板历史记录");
}

}  // namespace
}  // namespace stowboard
