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
#include "fakes/FakePasteboard.h"
#include "fakes/FakeRunLoop.h"

namespace stowboard {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using ::testing::SizeIs;

class HistoryViewTest : public ::testing::Test {
 protected:
  HistoryViewTest() {
    AppSettings settings;
    settings.maxRecords = 1000;
    std::vector<std::string> texts;
    for (int number = 1; number <= 30; ++number) texts.push_back("clip " + std::to_string(number));
    state_ = std::make_shared<AppState>(textClips(texts), settings);
    model_ = std::make_unique<HistoryViewModel>(state_, &simulator_, loop_);
    view_ = std::make_unique<HistoryView>(state_, *model_, pasteboard_);
    model_->reset();
    view_->show();
    view_->activateWindow();
    view_->viewDidAppear();
    EXPECT_TRUE(turnQtUntil([this] { return view_->isActiveWindow(); }));
    turn();
  }

  // A change of the state reaches the view model on a later turn, and the view on one after it.
  void turn() {
    loop_.runUntilIdle();
    QCoreApplication::sendPostedEvents();
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
    mouse(type, list().visualRect(list().model()->index(row, 0)).center());
  }
  void mouse(QEvent::Type type, const QPointF& place) {
    QMouseEvent event(type, place, list().viewport()->mapToGlobal(place), Qt::LeftButton,
                      Qt::LeftButton, {});
    QApplication::sendEvent(list().viewport(), &event);
  }
  std::string nameOf(QWidget& part) {
    return QAccessible::queryAccessibleInterface(&part)->text(QAccessible::Name).toStdString();
  }
  std::string nameOfRow(int row) {
    auto* table = QAccessible::queryAccessibleInterface(&list())->tableInterface();
    return table->cellAt(row, 0)->text(QAccessible::Name).toStdString();
  }
  /// Sets the interface to Chinese.
  void useChinese(DirectPasteModifierPair pair = DirectPasteModifierPair::commandOption) {
    auto settings = state_->settings();
    settings.language = AppLanguage::simplifiedChinese;
    settings.directPasteModifiers = carbonMask(pair);
    state_->updateSettings(settings);
    turn();
  }

  FakeRunLoop loop_;
  FakePasteboard pasteboard_;
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
  type("9");
  press(Qt::Key_2, Qt::MetaModifier, "2");
  EXPECT_THAT(simulator_.activated, ElementsAre("clip 20", "clip 21")) << "one clip is visible";
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
  type("cl");
  const auto paste = [&] { press(Qt::Key_V, Qt::ControlModifier); };
  paste();
  EXPECT_EQ(field().text(), "cl");
  pasteboard_.copyText("ip 7");
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
  pasteboard_.copyText("é" + std::string(5000, 'x'));
  press(Qt::Key_Meta, Qt::NoModifier);
  press(Qt::Key_V, Qt::MetaModifier);
  EXPECT_EQ(field().text(), "é" + QString(1023, 'x'));
  useChinese();
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
  EXPECT_TRUE(field().hasFocus());
  mouse(QEvent::MouseButtonPress, 1);
  view_->hide();
  view_->show();
  mouse(QEvent::MouseButtonRelease, 1);
  EXPECT_THAT(simulator_.activated, IsEmpty()) << "it began in an earlier opening";
}

TEST_F(HistoryViewTest, NothingMovesUnderAPressedButton) {
  const QPoint lastLine(100, list().viewport()->height() - 1);
  const QModelIndex cut = list().indexAt(lastLine);
  const QRect before = list().visualRect(cut);
  mouse(QEvent::MouseButtonPress, lastLine);
  state_->append(textClip("new"));
  turn();
  EXPECT_EQ(list().visualRect(cut), before);
  EXPECT_EQ(list().currentIndex(), cut) << "it shows as selected all the same";
  const std::string shown = "clip " + std::to_string(cut.row() + 1);
  mouse(QEvent::MouseButtonRelease, lastLine);
  EXPECT_THAT(simulator_.activated, ElementsAre(shown));
  turn();
  EXPECT_EQ(list().model()->rowCount(), 31);
}

TEST_F(HistoryViewTest, RemovingAClipLeavesTheOthersInTheirPlaces) {
  for (int step = 0; step < 15; ++step) press(Qt::Key_Down);
  turn();
  const QRect before = list().visualRect(list().currentIndex());
  press(Qt::Key_Delete, Qt::ShiftModifier);
  turn();
  EXPECT_EQ(list().visualRect(list().currentIndex()), before);
  EXPECT_THAT(nameOfRow(15), MatchesRegex("clip 17, .*"));
  press(Qt::Key_Return, Qt::ShiftModifier);
  EXPECT_THAT(simulator_.activated, ElementsAre("clip 17"));
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
  EXPECT_THAT(shown(), MatchesRegex("No results for \"  \nq+\" / No .*…q+\""));
  EXPECT_LT(view_->findChildren<QLabel*>().back()->width(), HistoryView::size.width());
  state_->clearAll();
  model_->reset();
  useChinese();
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
  EXPECT_EQ(nameOf(field()), "Search history");
  EXPECT_EQ(nameOf(clearButton()), "Clear search");
  EXPECT_EQ(nameOf(list()), "Clipboard history");
  EXPECT_THAT(nameOfRow(0), MatchesRegex("clip 1, [A-Z][a-z]+ [0-9]+, [0-9:]+, shortcut "
                                         "Super \\+ Alt \\+ 1"));
  EXPECT_THAT(nameOfRow(9), MatchesRegex("clip 10, [A-Z][a-z]+ [0-9]+, [0-9:]+"));
  useChinese(DirectPasteModifierPair::commandShift);
  EXPECT_THAT(nameOfRow(1), MatchesRegex("clip 2，.*月.*日 [0-9:]+，快捷键 Super \\+ "
                                         "Shift \\+ 2"));
  EXPECT_EQ(nameOf(list()), "剪贴板历史记录");
}

}  // namespace
}  // namespace stowboard
