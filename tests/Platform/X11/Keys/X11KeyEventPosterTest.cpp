#include "Platform/X11/Keys/X11KeyEventPoster.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QProcess>
#include <algorithm>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "Platform/Qt/QtRunLoop.h"
#include "Platform/QtTurns.h"
#include "Platform/X11/Keys/Typist.h"
#include "Platform/X11/Keys/X11AccessibilityTrust.h"
#include "Platform/X11/Keys/X11HotKeys.h"
#include "Platform/X11/Windows/X11Workspace.h"

namespace stowboard {
namespace {

using ::testing::ElementsAre;

/// A key press as an application sees it: lock modifiers left out.
struct Seen {
  int key;
  unsigned modifiers;
  friend bool operator==(const Seen&, const Seen&) = default;
  friend std::ostream& operator<<(std::ostream& out, const Seen& seen) {
    return out << "key " << seen.key << " with " << seen.modifiers;
  }
};

constexpr unsigned control = XCB_MOD_MASK_CONTROL, shift = XCB_MOD_MASK_SHIFT;
constexpr int insertKey = 118;
constexpr Seen controlV{Typist::v, control};

class ByWindowClass final : public ApplicationIdentifying {
  std::optional<std::string> applicationId(const WindowTraits& window) const override {
    return window.wmClass;
  }
  bool isTerminal(const std::string& id) const override { return id == "Terminal"; }
};

/// Another application's window. It claims another machine, so that it is not taken for ours.
class Target {
 public:
  explicit Target(const std::string& name) : connection_(X11Connection::open("")) {
    const std::uint32_t mask = XCB_EVENT_MASK_KEY_PRESS;
    xcb_create_window(xcb(), XCB_COPY_FROM_PARENT, window_ = xcb_generate_id(xcb()),
                      connection_->root(), 0, 0, 80, 60, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                      XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &mask);
    setText(XCB_ATOM_WM_CLASS, name + '\0' + name + '\0');
    setText(XCB_ATOM_WM_CLIENT_MACHINE, "elsewhere.example.org");
    xcb_map_window(xcb(), window_);
    xcb_flush(xcb());
  }

  RunningApplication application() const { return {std::nullopt, 0, window_}; }
  /// Presses of keys that are no modifiers, so far.
  const std::vector<Seen>& seen() {
    while (const auto event = connection_->nextEvent()) {
      if ((event->response_type & 0x7f) != XCB_KEY_PRESS) continue;
      const auto& press = reinterpret_cast<const xcb_key_press_event_t&>(*event);
      constexpr unsigned locks = XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2;
      const Seen each{press.detail, press.state & 0xffU & ~locks};
      if (X11KeyboardMap::read(xcb()).modifiers(press.detail) == 0) seen_.push_back(each);
    }
    return seen_;
  }

 private:
  xcb_connection_t* xcb() const { return connection_->xcb(); }
  void setText(xcb_atom_t property, const std::string& text) {
    xcb_change_property(xcb(), XCB_PROP_MODE_REPLACE, window_, property, XCB_ATOM_STRING, 8,
                        static_cast<std::uint32_t>(text.size()), text.data());
  }

  std::unique_ptr<X11Connection> connection_;
  xcb_window_t window_ = XCB_NONE;
  std::vector<Seen> seen_;
};

class X11KeyEventPosterTest : public ::testing::Test {
 protected:
  X11KeyEventPosterTest() {
    X11KeyEventPoster::Surroundings surroundings;
    surroundings.awaitedWindow = [this] { return awaited_; };
    surroundings.offerPrimary = [this] { offers_ += 1; };
    surroundings.whenPublished = [this](std::function<void()> done) {
      isPublishingHeld_ ? heldPublishing_.push_back(std::move(done)) : done();
    };
    poster_ = X11KeyEventPoster::create(loop_, applications_, std::move(surroundings));
    workspace_ = X11Workspace::create(loop_, applications_);
  }
  ~X11KeyEventPosterTest() override { run("setxkbmap us"); }

  static void run(const std::string& command) {
    QProcess::execute("sh", {"-c", QString::fromStdString(command)});
  }
  // The active window alone would not do: it may be that of an earlier target with the same id.
  void bringToFront(const Target& target) {
    ASSERT_TRUE(turnQtUntil([&] {
      workspace_->activate(target.application());
      const auto front = workspace_->frontmostApplication();
      return front && front->window == target.application().window &&
             typist_.focus() == front->window;
    }));
  }
  void paste() {
    const auto source = poster_->createSource();
    auto press = source->createKeyEvent(9, true);
    press->flags = KeyEventFlags::command;
    poster_->post(*press);
    poster_->post(*source->createKeyEvent(9, false));
  }
  /// As many presses as that, and what they are.
  static const std::vector<Seen>& seenBy(Target& target, std::size_t count) {
    turnQtUntil([&] { return target.seen().size() >= count; });
    return target.seen();
  }
  static void expectPastes(Target& target, std::size_t count) {
    EXPECT_EQ(seenBy(target, count), std::vector<Seen>(count, controlV));
  }
  ::testing::AssertionResult nothingIsDown() {
    if (turnQtUntil([&] { return (typist_.down() | typist_.downThroughXTest()).none(); })) {
      return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure() << typist_.down() << " " << typist_.downThroughXTest();
  }

  QtApplication application_;
  QtRunLoop loop_;
  ByWindowClass applications_;
  Typist typist_;
  std::unique_ptr<X11KeyEventPoster> poster_;
  std::unique_ptr<X11Workspace> workspace_;
  std::uint64_t awaited_ = 0;
  int offers_ = 0;
  bool isPublishingHeld_ = false;
  std::vector<std::function<void()>> heldPublishing_;
};

TEST_F(X11KeyEventPosterTest, ShowsExactlyThePasteChordWhateverIsHeld) {
  Target target("Editor");
  bringToFront(target);
  typist_.tap(Typist::capsLock);
  std::size_t pastes = 0;
  for (const auto& held :
       std::vector<std::vector<xcb_keycode_t>>{{},
                                               {Typist::super, Typist::alt},
                                               {Typist::control, Typist::alt},
                                               {Typist::super, Typist::shift},
                                               {Typist::control, Typist::shift}}) {
    for (const auto press : {&Typist::pressOne, &Typist::pressThroughXTest}) {
      for (const auto key : held) (typist_.*press)(key);
      typist_.sync();
      const auto before = typist_.down();
      paste();
      expectPastes(target, ++pastes);
      EXPECT_TRUE(turnQtUntil([&] { return typist_.down() == before; }));
      for (const auto key : held) {
        press == &Typist::pressOne ? typist_.release(key) : typist_.releaseThroughXTest(key);
      }
      EXPECT_TRUE(nothingIsDown());
    }
  }
  EXPECT_EQ(typist_.modifiers(), unsigned{XCB_MOD_MASK_LOCK});
  typist_.tap(Typist::capsLock);
}

// A person presses one digit after the other, each still held when its paste is sent.
TEST_F(X11KeyEventPosterTest, ReachesTheTargetFromUnderTheHotKeysGrab) {
  Target target("Editor");
  bringToFront(target);
  const auto hotKeys = X11HotKeys::create(loop_);
  for (std::uint32_t digit = 1; digit <= 3; ++digit) {
    const auto code = *HotKeyConfig::keyCodeForDigit(static_cast<int>(digit));
    EXPECT_EQ(hotKeys->registerHotKey({code, 0x900}, {7, digit}).status, HotKeyCenter::noError);
  }
  std::vector<std::uint32_t> pressed;
  hotKeys->installEventHandler([&](const HotKeyIdentity& identity) {
    pressed.push_back(identity.id);
    paste();
  });
  run("xset r rate 30 100");
  typist_.press({Typist::super, Typist::alt});
  std::size_t pastes = 0;
  for (const auto digit : {Typist::one, Typist::two, Typist::three, Typist::one}) {
    typist_.press(digit);
    expectPastes(target, ++pastes);
    // Long enough for the key to repeat, if it did.
    if (pastes > 2) typist_.release(digit, 100);
  }
  typist_.release({Typist::one, Typist::two, Typist::alt, Typist::super});
  EXPECT_TRUE(nothingIsDown());
  EXPECT_THAT(pressed, ElementsAre(1, 2, 3, 1));
  EXPECT_EQ(target.seen().size(), pastes);
  run("xset r rate");
}

TEST_F(X11KeyEventPosterTest, LeavesNothingDownWheneverThePersonLetsGo) {
  Target target("Editor");
  bringToFront(target);
  for (int round = 1; round <= 60; ++round) {
    typist_.press({Typist::super, Typist::alt, Typist::one});
    typist_.sync();
    std::thread person([&, round] {
      std::this_thread::sleep_for(std::chrono::microseconds(100 * round));
      typist_.release({Typist::one, Typist::alt, Typist::super});
    });
    paste();
    EXPECT_TRUE(turnQtUntil([&] { return std::ranges::count(target.seen(), controlV) == round; }));
    person.join();
    ASSERT_TRUE(nothingIsDown()) << round;
  }
}

TEST_F(X11KeyEventPosterTest, PastesAsTheTargetAndTheLayoutUnderstandIt) {
  struct Row {
    const char* windowClass;
    const char* layout;
    Seen seen;
  };
  constexpr Seen shiftInsert{insertKey, shift};
  constexpr int vOfDvorak = 60;
  for (const auto& row : std::vector<Row>{
           {"Terminal", "us", {Typist::v, control | shift}},
           {"XTerm", "us", shiftInsert},
           {"Editor", "us -variant dvorak", {vOfDvorak, control}},
           {"Terminal", "us -variant dvorak", {vOfDvorak, control | shift}},
           {"Editor", "us,ru", controlV},
           {"Editor", "ru,us", controlV},
           {"Editor", "ru", shiftInsert},
           {"Terminal", "gr", shiftInsert},
       }) {
    run(std::string("setxkbmap -layout ") + row.layout);
    Target target(row.windowClass);
    bringToFront(target);
    offers_ = 0;
    typist_.press({Typist::super, Typist::alt});
    paste();
    EXPECT_THAT(seenBy(target, 1), ElementsAre(row.seen)) << row.windowClass << row.layout;
    EXPECT_EQ(offers_, row.seen == shiftInsert ? 1 : 0) << row.windowClass << row.layout;
    typist_.release({Typist::alt, Typist::super});
    EXPECT_TRUE(nothingIsDown());
  }
}

TEST_F(X11KeyEventPosterTest, WaitsForTheActivationUnderWay) {
  Target first("First");
  Target second("Second");
  bringToFront(second);
  bringToFront(first);
  awaited_ = second.application().window;
  paste();
  workspace_->activate(second.application());
  EXPECT_THAT(seenBy(second, 1), ElementsAre(controlV));
  // One that never comes does not keep the paste from whoever is in front.
  awaited_ = 0x7fffffff;
  paste();
  paste();
  EXPECT_THAT(seenBy(second, 3), ElementsAre(controlV, controlV, controlV));
  EXPECT_TRUE(first.seen().empty());
}

TEST_F(X11KeyEventPosterTest, WaitsForTheClipToBeOnTheClipboard) {
  Target target("Editor");
  bringToFront(target);
  isPublishingHeld_ = true;
  paste();
  ASSERT_TRUE(turnQtUntil([&] { return !heldPublishing_.empty(); }));
  typist_.tap(Typist::capsLock);  // comes after whatever was typed too early
  typist_.tap(Typist::capsLock);
  EXPECT_EQ(std::ranges::count(target.seen(), controlV), 0);
  heldPublishing_.front()();
  EXPECT_TRUE(turnQtUntil([&] { return std::ranges::count(target.seen(), controlV) == 1; }));
}

TEST_F(X11KeyEventPosterTest, MakesEventsOfRealKeysOnly) {
  EXPECT_FALSE(poster_->createSource()->createKeyEvent(200, true));
  EXPECT_FALSE(X11KeyEventPoster::create(loop_, applications_, {}, "/nowhere:99"));
  EXPECT_TRUE(X11AccessibilityTrust::create()->isTrusted());
  QProcess server;
  server.start("Xvfb", {"-displayfd", "1", "-nolisten", "tcp", "-noreset", "-extension", "XTEST"});
  ASSERT_TRUE(server.waitForStarted());
  while (!server.canReadLine()) ASSERT_TRUE(server.waitForReadyRead());
  const std::string display = ":" + server.readLine().trimmed().toStdString();
  EXPECT_FALSE(X11KeyEventPoster::create(loop_, applications_, {}, display));
  const auto trust = X11AccessibilityTrust::create(display);
  ASSERT_TRUE(trust);
  EXPECT_FALSE(trust->isTrusted());
  server.terminate();
  server.waitForFinished();
}

}  // namespace
}  // namespace stowboard
