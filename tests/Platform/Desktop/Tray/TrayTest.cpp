#include <gmock/gmock.h>

#include <QApplication>
#include <QDBusMetaType>
#include <QDBusReply>
#include <QKeyEvent>
#include <memory>

#include "Platform/Desktop/Tray/BusRecords.h"
#include "Platform/Desktop/Tray/DBusObject.h"
#include "Platform/Desktop/Tray/PanelStatusItem.h"
#include "Platform/Desktop/Tray/SystemTrayIcon.h"
#include "Platform/Desktop/Tray/ToolkitMenu.h"
#include "Platform/QtTurns.h"
#include "contract/StatusItemContract.h"
#include "fakes/FakeStatusItem.h"
#include "fakes/LogCapture.h"

namespace stowboard {
namespace {

using ::testing::ElementsAre;

/// One for all tests, since the toolkit keeps its bus connection.
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

/// The desktop's list of StatusNotifier items, on a connection of its own.
class Watcher final : public DBusObject {
 public:
  static constexpr const char* name = "org.kde.StatusNotifierWatcher";

  explicit Watcher(bool hasHost)
      : DBusObject("/StatusNotifierWatcher", name),
        bus_(QDBusConnection::connectToBus(QDBusConnection::SessionBus, name)),
        hasHost_(hasHost) {
    registerOn(bus_);
    EXPECT_TRUE(bus_.registerService(name));
  }
  ~Watcher() override {
    bus_.unregisterService(name);
    QDBusConnection::disconnectFromBus(name);
  }

  void setHasHost(bool hasHost) {
    hasHost_ = hasHost;
    emitSignal(hasHost ? "StatusNotifierHostRegistered" : "StatusNotifierHostUnregistered", {});
  }
  QString introspect(const QString&) const override { return {}; }

  /// Answers nothing until it is let go on.
  void hang() { hangs_ = true; }
  void goOn() {
    hangs_ = false;
    for (const auto& each : std::exchange(held_, {})) handleMessage(each, bus_);
  }
  bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
    if (!hangs_) return DBusObject::handleMessage(message, connection);
    held_.push_back(message);
    return true;
  }

  /// Bus names, as often as they were told.
  QStringList items;

 protected:
  QVariantMap properties() const override {
    return {{QStringLiteral("IsStatusNotifierHostRegistered"), hasHost_}};
  }
  bool call(const QDBusMessage& message) override {
    items += message.arguments().at(0).toString();
    reply(message);
    return true;
  }

 private:
  QDBusConnection bus_;
  bool hasHost_;
  bool hangs_ = false;
  std::vector<QDBusMessage> held_;
};

/// What a panel asks of the item and its menu, on a connection of its own.
class Panel {
 public:
  /// Of the items, the one that the watcher was told of last counts.
  explicit Panel(const Watcher& watcher)
      : watcher_(watcher),
        bus_(QDBusConnection::connectToBus(QDBusConnection::SessionBus, "panel")) {}
  ~Panel() { QDBusConnection::disconnectFromBus("panel"); }

  QDBusMessage askItem(const QString& method, const QVariantList& arguments) const {
    return ask("/StatusNotifierItem", "org.kde.StatusNotifierItem", method, arguments);
  }
  QDBusMessage askMenu(const QString& method, const QVariantList& arguments) const {
    return ask("/MenuBar", "com.canonical.dbusmenu", method, arguments);
  }
  QDBusMessage property(const QString& name) const {
    return ask("/StatusNotifierItem", "org.freedesktop.DBus.Properties", "Get",
               {"org.kde.StatusNotifierItem", name});
  }
  QVariant valueOf(const QString& name) const {
    return property(name).arguments().value(0).value<QDBusVariant>().variant();
  }

  std::optional<BusLayout> layout(int id = 0, int depth = -1) const {
    const auto answer = askMenu("GetLayout", {id, depth, QStringList()});
    if (answer.type() != QDBusMessage::ReplyMessage) return std::nullopt;
    return qdbus_cast<BusLayout>(answer.arguments().at(1));
  }
  static std::vector<BusLayout> children(const BusLayout& layout) {
    std::vector<BusLayout> all;
    for (const QVariant& child : layout.children) all.push_back(qdbus_cast<BusLayout>(child));
    return all;
  }
  bool asksAnewBeforeShowing() const {
    return askMenu("AboutToShow", {0}).arguments().at(0).toBool();
  }
  void click(int id) const {
    askMenu("Event", {id, "clicked", QVariant::fromValue(QDBusVariant(0)), 0U});
  }

 private:
  QDBusMessage ask(const QString& path, const QString& interface, const QString& method,
                   const QVariantList& arguments) const {
    auto message = QDBusMessage::createMethodCall(watcher_.items.last(), path, interface, method);
    message.setArguments(arguments);
    return bus_.call(message, QDBus::BlockWithGui);
  }

  const Watcher& watcher_;
  QDBusConnection bus_;
};

/// A desktop whose panel takes StatusNotifier items.
class NotifierHarness {
 public:
  StatusItem& item() { return item_; }

  std::optional<std::vector<std::string>> menu() {
    const auto layout = watcher_.items.isEmpty() ? std::nullopt : panel_.layout();
    if (!layout) return std::nullopt;
    std::vector<std::string> titles;
    for (const auto& entry : Panel::children(*layout)) {
      titles.push_back(entry.properties.value("label").toString().replace("__", "_").toStdString());
    }
    return titles;
  }
  void click() { panel_.askItem("Activate", {0, 0}); }
  void choose(const std::string& title) {
    const auto titles = menu().value();
    panel_.click(static_cast<int>(std::ranges::find(titles, title) - titles.begin()) + 1);
  }
  bool turnUntil(const std::function<bool()>& condition) { return turnQtUntil(condition); }

 private:
  Watcher watcher_{true};
  Panel panel_{watcher_};
  PanelStatusItem item_{std::make_unique<FakeStatusItem>()};
};

INSTANTIATE_TYPED_TEST_SUITE_P(Notifier, StatusItemContract, NotifierHarness);

class PanelStatusItemTest : public ::testing::Test {
 protected:
  PanelStatusItemTest() {
    auto otherwise = std::make_unique<FakeStatusItem>();
    otherwise_ = otherwise.get();
    item_ = std::make_unique<PanelStatusItem>(std::move(otherwise));
  }

  void show() {
    const auto draw = [](int size) {
      return StatusItem::Picture{size, 1, std::vector<std::uint32_t>(size, 0x80112233)};
    };
    const auto note = [this](auto number) { return [=, this] { chosen_ += number; }; };
    item_->show({draw,
                 [=, this] {
                   return StatusMenu{{"Help_1", "?", note("help ")}, {}, {title_, "", nullptr}};
                 },
                 [this](const auto& button) { clicks_.push_back(button); }});
  }
  void showInPanel() {
    watcher_ = std::make_unique<Watcher>(true);
    panel_.emplace(*watcher_);
    show();
    ASSERT_TRUE(turnQtUntil([this] { return !watcher_->items.isEmpty(); }));
  }
  bool isElsewhere(bool expected) {
    return turnQtUntil([&] { return otherwise_->isShown() == expected; });
  }

  std::string title_ = "Version";
  std::string chosen_;
  std::vector<StatusItem::Rectangle> clicks_;
  std::unique_ptr<Watcher> watcher_;
  std::optional<Panel> panel_;
  FakeStatusItem* otherwise_ = nullptr;
  std::unique_ptr<PanelStatusItem> item_;
};

TEST_F(PanelStatusItemTest, IsElsewhereWheneverNoPanelTakesIt) {
  show();
  EXPECT_TRUE(isElsewhere(true)) << "no watcher";
  for (int round = 0; round < 2; ++round) {
    watcher_ = std::make_unique<Watcher>(true);
    EXPECT_TRUE(isElsewhere(false)) << "one that comes";
    watcher_->setHasHost(false);
    EXPECT_TRUE(isElsewhere(true)) << "its panel ended";
    watcher_->setHasHost(true);
    EXPECT_TRUE(isElsewhere(false)) << "and is back";
    EXPECT_FALSE(watcher_->items.isEmpty());
    watcher_.reset();
    EXPECT_TRUE(isElsewhere(true)) << "the watcher ended";
  }
  item_->hide();
  EXPECT_FALSE(otherwise_->isShown());
}

TEST_F(PanelStatusItemTest, IsElsewhereWhileTheWatcherHangs) {
  watcher_ = std::make_unique<Watcher>(true);
  watcher_->hang();
  show();
  EXPECT_TRUE(isElsewhere(true));
  watcher_->setHasHost(true);
  watcher_->goOn();
  EXPECT_TRUE(isElsewhere(false));
  EXPECT_TRUE(turnQtUntil([this] { return watcher_->items.size() == 1; }));
}

TEST_F(PanelStatusItemTest, TellsWhatItIs) {
  showInPanel();
  EXPECT_EQ(panel_->valueOf("Id"), "com.qarvin.stowboard");
  EXPECT_EQ(panel_->valueOf("ItemIsMenu"), false);
  EXPECT_EQ(panel_->valueOf("Menu").value<QDBusObjectPath>().path(), "/MenuBar");
  const auto icons = qdbus_cast<QList<BusPicture>>(panel_->valueOf("IconPixmap"));
  ASSERT_EQ(icons.size(), 9);
  EXPECT_EQ(icons[2].width, 22);
  EXPECT_EQ(icons[2].pixels, QByteArray("\x80\x11\x22\x33").repeated(22));
  EXPECT_EQ(panel_->property("Colour").errorName(), "org.freedesktop.DBus.Error.InvalidArgs");
}

TEST_F(PanelStatusItemTest, TakesThePlaceOfAClickAndNoOtherButton) {
  showInPanel();
  for (const QVariantList& place : {QVariantList{30, 40}, {0, 0}, {99999, 5}}) {
    panel_->askItem("Activate", place);
  }
  for (const char* other : {"SecondaryActivate", "Scroll"}) {
    EXPECT_EQ(panel_->askItem(other, {1, 2}).type(), QDBusMessage::ReplyMessage);
  }
  const StatusItem::Rectangle unknown;
  EXPECT_THAT(clicks_, ElementsAre(StatusItem::Rectangle{30, 40, 1, 1}, unknown, unknown));
  EXPECT_EQ(panel_->askItem("Explode", {}).type(), QDBusMessage::ErrorMessage);
}

TEST_F(PanelStatusItemTest, LendsItsMenuInThePanelsForm) {
  showInPanel();
  const auto entries = Panel::children(panel_->layout().value());
  ASSERT_EQ(entries.size(), 3u);
  EXPECT_EQ(entries[0].properties["label"], "Help__1");
  EXPECT_EQ(qdbus_cast<QList<QStringList>>(entries[0].properties["shortcut"]),
            QList<QStringList>({{"Control", "?"}}));
  EXPECT_EQ(entries[1].properties, QVariantMap({{"type", "separator"}}));
  EXPECT_EQ(entries[2].properties, QVariantMap({{"label", "Version"}, {"enabled", false}}));
  EXPECT_TRUE(panel_->layout(0, 0)->children.isEmpty());
  EXPECT_EQ(panel_->layout(3)->properties, entries[2].properties);
  const auto group =
      panel_->askMenu("GetGroupProperties", {QVariant::fromValue(QList<int>{2, 9}), QStringList()});
  EXPECT_EQ(qdbus_cast<QList<BusProperties>>(group.arguments().at(0)).size(), 1);
  for (const auto& wrong :
       {panel_->askMenu("GetLayout", {4, -1, QStringList()}), panel_->askMenu("GetLayout", {"0"}),
        panel_->askMenu("Explode", {}), panel_->askMenu("GetProperty", {2, "label"})}) {
    EXPECT_EQ(wrong.type(), QDBusMessage::ErrorMessage);
  }
}

TEST_F(PanelStatusItemTest, HasAChangedMenuFetchedAnewOnce) {
  showInPanel();
  panel_->layout();
  EXPECT_FALSE(panel_->asksAnewBeforeShowing());
  title_ = "Other version";
  EXPECT_TRUE(panel_->asksAnewBeforeShowing());
  EXPECT_EQ(Panel::children(*panel_->layout())[2].properties["label"], "Other version");
  EXPECT_FALSE(panel_->asksAnewBeforeShowing());
}

TEST_F(PanelStatusItemTest, ActsOnChoicesOnly) {
  showInPanel();
  const QList<BusEvent> events{{1, "hovered"}, {1, "clicked"}, {2, "clicked"}, {-1, "clicked"}};
  panel_->askMenu("EventGroup", {QVariant::fromValue(events)});
  EXPECT_EQ(chosen_, "help ");
}

TEST(ToolkitMenuTest, IsFilledWithTheMenuOfTheMoment) {
  std::string version = "v2025&0303";
  int quits = 0;
  ToolkitMenu menu([&]() -> StatusMenu {
    return {{"Quit", "Q", [&] { quits += 1; }}, {}, {version, "", nullptr}};
  });
  const auto lines = [&menu] {
    std::vector<std::string> all;
    Q_EMIT menu.aboutToShow();
    for (const QAction* each : menu.actions()) {
      const auto text = each->isSeparator() ? "-" : each->text() + each->shortcut().toString();
      all.push_back((each->isEnabled() ? text : "(" + text + ")").toStdString());
    }
    return all;
  };
  EXPECT_THAT(lines(), ElementsAre("QuitCtrl+Q", "-", "(v2025&&0303)"));
  version = "v2";
  EXPECT_THAT(lines(), ElementsAre("QuitCtrl+Q", "-", "(v2)"));
  for (QAction* action : menu.actions()) action->trigger();
  EXPECT_EQ(quits, 1);
}

TEST(ToolkitMenuTest, ItsKeysChooseItsEntriesWhileItIsOpen) {
  std::string chosen;
  ToolkitMenu menu([&]() -> StatusMenu {
    return {{"Help", "?", [&] { chosen += "help "; }},
            {"Settings", ",", [&] { chosen += "settings "; }},
            {"v2", "", nullptr},
            {"Quit", "Q", [&] { chosen += "quit "; }}};
  });
  const auto shift = Qt::ControlModifier | Qt::ShiftModifier;
  for (const auto& [key, modifiers, closes] :
       {std::tuple(Qt::Key_Q, Qt::KeyboardModifiers(), false),
        {Qt::Key_Q, Qt::KeyboardModifiers(shift), false},
        {Qt::Key_X, Qt::KeyboardModifiers(Qt::ControlModifier), false},
        {Qt::Key_Question, Qt::KeyboardModifiers(shift), true},
        {Qt::Key_Comma, Qt::KeyboardModifiers(Qt::ControlModifier), true},
        {Qt::Key_Q, Qt::KeyboardModifiers(Qt::ControlModifier), true}}) {
    menu.popup({});
    QKeyEvent press(QEvent::KeyPress, key, modifiers);
    QApplication::sendEvent(&menu, &press);
    EXPECT_EQ(menu.isVisible(), !closes) << key;
    menu.close();
  }
  EXPECT_EQ(chosen, "help settings quit ");
}

TEST(SystemTrayIconTest, SaysOnceThatThereIsNoTray) {
  const LogCapture log;
  SystemTrayIcon icon;
  const StatusItem::Content content{[](int) { return StatusItem::Picture(); },
                                    [] { return StatusMenu(); }, [](const auto&) {}};
  icon.show(content);
  icon.show(content);
  icon.hide();
  icon.show(content);
  EXPECT_THAT(log.infos("ui"), ElementsAre(::testing::HasSubstr("No panel shows status icons")));
}

}  // namespace
}  // namespace stowboard
