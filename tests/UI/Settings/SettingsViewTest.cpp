#include "UI/Settings/SettingsView.h"

#include <gmock/gmock.h>

#include <QAbstractItemView>
#include <QApplication>
#include <QLineEdit>
#include <QScrollArea>
#include <QScrollBar>
#include <QWheelEvent>
#include <string>
#include <vector>

#include "Platform/QtTurns.h"
#include "UI/Controls/Form.h"
#include "UI/Controls/IntegerField.h"
#include "UI/Controls/Picker.h"
#include "UI/Controls/Stepper.h"
#include "UI/Looks/Theme.h"
#include "UI/Settings/SettingsFixture.h"
#include "UI/Settings/SettingsWindow.h"
#include "Utils/L10n.h"

namespace stowboard {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

void press(QWidget* widget, int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier,
           const QString& text = {}) {
  QKeyEvent event(QEvent::KeyPress, key, modifiers, text);
  QApplication::sendEvent(widget, &event);
}

bool isWheelTaken(QWidget* widget) {
  const QPointF centre = QRectF(widget->rect()).center();
  QWheelEvent event(centre, widget->mapToGlobal(centre), {}, {0, -120}, Qt::NoButton,
                    Qt::NoModifier, Qt::NoScrollPhase, false);
  QApplication::sendEvent(widget, &event);
  return event.isAccepted();
}

AppSettings withRecords(std::int64_t count) {
  AppSettings settings;
  settings.maxRecords = count;
  return settings;
}

/// The settings window on the screen, with the focus.
struct Form : SettingsFixture {
  explicit Form(const AppSettings& settings = {}) : SettingsFixture(settings) {
    window = std::make_unique<SettingsWindow>(std::move(viewModel), fake.platform);
    window->show();
    window->activateWindow();
    EXPECT_TRUE(turnQtUntil([this] { return window->isActiveWindow(); }));
  }

  template <typename Widget>
  Widget* find(int index = 0) const {
    return static_cast<Widget*>(all<Widget>().at(static_cast<std::size_t>(index)));
  }
  template <typename Widget>
  std::vector<Widget*> all() const {
    std::vector<Widget*> found;
    for (QWidget* child : window->findChildren<QWidget*>()) {
      if (auto* widget = dynamic_cast<Widget*>(child)) found.push_back(widget);
    }
    return found;
  }
  std::vector<std::string> visibleTexts() const {
    std::vector<std::string> texts;
    for (const QLabel* label : all<QLabel>()) {
      if (label->isVisible()) texts.push_back(label->text().toStdString());
    }
    return texts;
  }
  void type(const QString& text) const {
    auto* field = find<IntegerField>();
    field->setFocus();
    field->selectAll();
    for (const QChar character : text) press(field, 0, Qt::NoModifier, character);
  }

  std::unique_ptr<SettingsWindow> window;
};

TEST(SettingsView, EveryPickerOffersItsChoicesAndWritesAtOnce) {
  Form form;
  const auto pickers = form.all<Picker>();
  const std::vector<int> counts{2, 4, 5, 39, 6};
  ASSERT_EQ(pickers.size(), counts.size());
  for (std::size_t index = 0; index < counts.size(); ++index) {
    EXPECT_EQ(pickers[index]->count(), counts[index]) << index;
    press(pickers[index], Qt::Key_End);
  }
  AppSettings expected;
  expected.language = AppLanguage::simplifiedChinese;
  expected.hotKey = {50, ModifierMask::control};
  expected.directPasteModifiers = ModifierMask::control | ModifierMask::shift;
  EXPECT_EQ(form.settings(), expected);

  form.find<Switch>()->click();
  EXPECT_EQ(form.loginItems.current, LoginItems::Status::enabled);
  form.loginItems.failure = "Read-only file system";
  form.find<Switch>()->click();
  EXPECT_TRUE(form.find<Switch>()->isChecked()) << "springs back";
  EXPECT_THAT(form.visibleTexts(), Contains("Failed to update login item: Read-only file system"));
  form.loginItems.failure.reset();
}

TEST(SettingsView, ShortcutsAreAlsoToldInTheWordsOfThisKeyboard) {
  Form form;
  const auto caps = form.all<KeyCap>();
  EXPECT_EQ(caps.at(0)->text(), "⌘ Command + ⇧ Shift + V");
  EXPECT_EQ(caps.at(0)->toolTip(), "Super + Shift + V");
  EXPECT_EQ(caps.at(1)->accessibleName(), "Super + Alt + 1~9");
  auto* second = form.find<Picker>(2);
  EXPECT_EQ(second->currentText(), "⇧ Shift");
  EXPECT_EQ(second->itemData(3, Qt::AccessibleTextRole), "Ctrl");
  form.change(&AppSettings::hotKey, HotKeyConfig{9, ModifierMask::option | ModifierMask::control});
  EXPECT_EQ(caps.at(0)->accessibleName(), "Ctrl + Alt + V");
  EXPECT_EQ(second->toolTip(), "Alt");
  EXPECT_EQ(second->accessibleDescription(), "Alt");
  form.change(&AppSettings::hotKey, HotKeyConfig{9, ModifierMask::option});
  EXPECT_EQ(second->toolTip(), "");
}

TEST(SettingsView, AnOpenListStandsOutOnBlack) {
  const QPalette usual = QApplication::palette();
  QApplication::setPalette(Theme::palette(true, Contrast::high));
  Form form;
  auto* picker = form.find<Picker>();
  picker->showPopup();
  const QImage list = picker->view()->parentWidget()->grab().toImage();
  EXPECT_EQ(list.pixelColor(0, list.height() / 2), QColor(Qt::white));
  EXPECT_EQ(list.pixelColor(list.width() / 2, list.height() - 1), QColor(Qt::white));
  picker->hidePopup();
  QApplication::setPalette(usual);
}

TEST(SettingsView, LongShortcutsAndLargeFontsFit) {
  const QFont usual = QApplication::font();
  QFont large = usual;
  large.setPointSize(14);
  AppSettings keypadClear;
  keypadClear.hotKey = {71, 0x1b00};
  for (const auto& [font, settings] : {std::pair(usual, keypadClear), {large, AppSettings()}}) {
    QApplication::setFont(font);
    Form form(settings);
    EXPECT_EQ(form.find<QScrollArea>()->horizontalScrollBar()->maximum(), 0);
    const auto* key = form.find<Picker>(3);
    EXPECT_GT(key->width(), key->fontMetrics().horizontalAdvance(key->placeholderText()));
    const auto* field = form.find<IntegerField>();
    EXPECT_GT(field->width(), field->fontMetrics().horizontalAdvance("1,000") + 4);
  }
  QApplication::setFont(usual);
}

TEST(SettingsView, TheRecordFieldTakesWholeNumbersOfItsLocale) {
  struct Row {
    const char* locale;
    const char* typed;
    std::int64_t stored;
    const char* shown;
  };
  for (const Row& row : std::vector<Row>{{"en_US", "0", 1, "1"},
                                         {"en_US", "2500", 1000, "1,000"},
                                         {"en_US", "-7", 1, "1"},
                                         {"en_US", " 1,000 ", 1000, "1,000"},
                                         {"de_DE", "1.000", 1000, "1.000"},
                                         {"en_US", "", 50, "50"},
                                         {"en_US", "5x", 50, "50"},
                                         {"en_US", "2.5", 50, "50"},
                                         {"en_US", "99999999999999999999", 1000, "1,000"}}) {
    Form form(withRecords(50));
    auto* field = form.find<IntegerField>();
    field->setLocale(QLocale(row.locale));
    field->setText(row.typed);
    press(field, Qt::Key_Return);
    EXPECT_EQ(form.settings().maxRecords, row.stored) << row.typed;
    EXPECT_EQ(field->text().toStdString(), row.shown) << row.typed;
  }
}

TEST(SettingsView, AFieldThatIsBeingEditedIsLeftAlone) {
  Form form;
  auto* field = form.find<IntegerField>();
  form.type("77");
  form.change(&AppSettings::maxRecords, std::int64_t{20});
  form.change(&AppSettings::language, AppLanguage::simplifiedChinese);
  EXPECT_EQ(field->text(), "77");
  EXPECT_THAT(form.visibleTexts(), Contains(L10n::maxRecords(AppLanguage::simplifiedChinese)));
  press(field, Qt::Key_Escape);
  EXPECT_EQ(field->text(), "20") << "taken back";
  EXPECT_TRUE(form.window->isVisible());

  form.type("30");
  form.find<Switch>()->setFocus();
  EXPECT_EQ(form.settings().maxRecords, 30) << "entered when the focus leaves";
  press(field, Qt::Key_Escape);
  EXPECT_FALSE(form.window->isVisible()) << "nothing left to take back";
  form.type("40");
  QMetaObject::invokeMethod(qApp, "aboutToQuit");
  EXPECT_EQ(form.settings().maxRecords, 40) << "entered when the program ends";
}

TEST(SettingsView, TheStepperStaysInItsRange) {
  struct Row {
    std::int64_t from, up, down;
  };
  for (const Row& row : std::vector<Row>{{50, 55, 45},
                                         {12, 17, 10},
                                         {97, 100, 92},
                                         {100, 100, 95},
                                         {10, 15, 10},
                                         {500, 500, 100},
                                         {3, 10, 3}}) {
    for (const int key : {Qt::Key_Up, Qt::Key_Down}) {
      Form form(withRecords(row.from));
      press(form.find<Stepper>(), key);
      const std::int64_t expected = key == Qt::Key_Up ? row.up : row.down;
      EXPECT_EQ(form.settings().maxRecords, expected) << row.from;
      EXPECT_EQ(form.find<IntegerField>()->text().toInt(), expected);
    }
  }
  Form form;
  form.find<Stepper>()->setProperty("value", 40);  // as assistive technologies do
  EXPECT_EQ(form.settings().maxRecords, 40);
}

TEST(SettingsView, TheWheelIsLeftToTheFormUnlessTheControlHasTheFocus) {
  Form form(withRecords(50));
  const AppSettings initial = form.settings();
  for (QWidget* control :
       {static_cast<QWidget*>(form.find<Picker>(0)), static_cast<QWidget*>(form.find<Stepper>())}) {
    EXPECT_FALSE(isWheelTaken(control));
    EXPECT_EQ(form.settings(), initial);
    control->setFocus();
    EXPECT_TRUE(isWheelTaken(control));
    EXPECT_NE(form.settings(), initial);
    form.appState->updateSettings(initial);
    form.runLoop.runUntilIdle();
  }
}

TEST(SettingsView, TabReachesEveryControlInOrderAndBringsItIntoSight) {
  Form form;
  const auto* area = form.find<QScrollArea>();
  std::vector<int> heights;
  for (int stop = 0; stop < 10; ++stop) {
    press(form.window->focusWidget(), Qt::Key_Tab);
    const QWidget* now = form.window->focusWidget();
    EXPECT_TRUE(area->viewport()->rect().contains(
        QRect(now->mapTo(area->viewport(), QPoint()), now->size())))
        << stop;
    heights.push_back(now->mapTo(area->widget(), now->rect().center()).y());
  }
  EXPECT_EQ(form.window->focusWidget(), form.find<FormButton>(1)) << "the last of them";
  EXPECT_TRUE(std::ranges::is_sorted(heights));
}

TEST(SettingsView, FollowsThePermissionWhileItIsWantedAndMissing) {
  const std::string title(L10n::permissionSection(AppLanguage::english));
  Form form;
  EXPECT_THAT(form.visibleTexts(), Contains("Not granted"));
  form.find<FormButton>(0)->click();
  EXPECT_EQ(form.trust.openings, 1);
  form.trust.hasSettings = false;
  form.change(&AppSettings::language, AppLanguage::simplifiedChinese);
  form.change(&AppSettings::language, AppLanguage::english);
  EXPECT_FALSE(form.find<FormButton>(0)->isEnabled());
  EXPECT_THAT(form.find<FormButton>(0)->toolTip().toStdString(), HasSubstr("no settings page"));
  form.trust.trusted = true;
  EXPECT_TRUE(turnQtUntil([&] { return !form.find<FormButton>(0)->isVisible(); }));
  EXPECT_THAT(form.visibleTexts(), Contains("Granted"));
  EXPECT_THAT(form.visibleTexts(), Not(Contains(L10n::permissionPrompt(AppLanguage::english))));

  form.change(&AppSettings::pasteMode, PasteMode::copyOnly);
  EXPECT_THAT(form.visibleTexts(), Not(Contains(title)));
}

}  // namespace
}  // namespace stowboard
