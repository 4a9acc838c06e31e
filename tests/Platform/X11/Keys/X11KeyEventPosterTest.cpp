#include "Platform/X11/Keys/X11KeyEventPoster.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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
#include "Platform/X11/OtherPrograms.h"
#include "Platform/X11/Windows/X11Workspace.h"
#include "contract/AccessibilityTrustContract.h"
#include "contract/KeyEventPosterContract.h"
#include "fakes/FakeApplicationIdentifying.h"

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

/// Another application's window.
class Target {
 public:
  explicit Target(const std::string& name)
      : window_(client_.open(name, XCB_EVENT_MASK_KEY_PRESS)) {}

  RunningApplication application() const { return {std::nullopt, 0, window_}; }
  /// Presses of keys that are no modifiers, so far.
  const std::vector<Seen>& seen() {
    while (const auto event = client_.connection().nextEvent()) {
      const auto* press = eventAs<xcb_key_press_event_t>(*event, XCB_KEY_PRESS);
      if (press == nullptr) continue;
      constexpr unsigned locks = XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2;
      const Seen each{press->detail, press->state & 0xffU & ~locks};
      if (X11KeyboardMap::read(client_.xcb()).modifiers(press->detail) == 0) seen_.push_back(each);
    }
    return seen_;
  }

 private:
  Client client_;
  const xcb_window_t window_;
  std::vector<Seen> seen_;
};

/// A poster with all that it asks of its neighbours.
struct Typing {
  Typing() {
    X11KeyEventPoster::Surroundings surroundings;
    surroundings.awaitedWindow = [this] { return awaited; };
    surroundings.offerPrimary = [this] { offers += 1; };
    surroundings.whenPublished = [this](std::function<void()> done) {
      isPublishingHeld ? heldPublishing.push_back(std::move(done)) : done();
    };
    poster = X11KeyEventPoster::create(*connection, loop, applications, std::move(surroundings));
  }

  // The active window alone would not do: it may be that of an earlier target with the same id.
  // Asks again for a window that was not managed yet, but no more often than a window manager that
  // is busy with a new layout can answer.
  void bringToFront(const Target& target) {
    const auto window = target.application().window;
    ASSERT_TRUE(turnQtUntil([&] {
      if (workspace.awaitedWindow() != window) workspace.activate(target.application());
      const auto front = workspace.frontmostApplication();
      return front && front->window == window && typist.focus() == window;
    }));
  }

  QtApplication application;
  QtRunLoop loop;
  FakeApplicationIdentifying applications;
  Typist typist;
  std::shared_ptr<X11MainConnection> connection = X11MainConnection::open();
  X11Workspace workspace{connection, applications};
  std::unique_ptr<X11KeyEventPoster> poster;
  std::uint64_t awaited = 0;
  int offers = 0;
  bool isPublishingHeld = false;
  std::vector<std::function<void()>> heldPublishing;
};

class RealKeyEventHarness {
 public:
  RealKeyEventHarness() { typing_.bringToFront(target_); }

  KeyEventPoster& poster() { return *typing_.poster; }
  std::vector<std::string> seen() {
    std::vector<std::string> strokes;
    for (const auto& each : target_.seen()) {
      strokes.push_back(each == controlV ? "paste" : each == Seen{36, 0} ? "return" : "other");
    }
    return strokes;
  }
  bool turnUntil(const std::function<bool()>& condition) { return turnQtUntil(condition); }

 private:
  Typing typing_;
  Target target_{"Editor"};
};

class RealTrustHarness {
 public:
  AccessibilityTrust& granted() { return granted_; }
  AccessibilityTrust& withheld() { return withheld_; }

 private:
  QtApplication application_;
  PrivateServer server_{{"-noreset", "-extension", "XTEST"}};
  X11AccessibilityTrust granted_{X11MainConnection::open()};
  X11AccessibilityTrust withheld_{X11MainConnection::open(server_.display)};
};

INSTANTIATE_TYPED_TEST_SUITE_P(X11, KeyEventPosterContract, RealKeyEventHarness);
INSTANTIATE_TYPED_TEST_SUITE_P(X11, AccessibilityTrustContract, RealTrustHarness);

class X11KeyEventPosterTest : public ::testing::Test {
 protected:
  ~X11KeyEventPosterTest() override { runInShell("setxkbmap us"); }

  void paste() {
    const auto source = typing_.poster->createSource();
    auto press = source->createKeyEvent(9, true);
    press->flags = KeyEventFlags::command;
    typing_.poster->post(*press);
    typing_.poster->post(*source->createKeyEvent(9, false));
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

  Typing typing_;
  Typist& typist_ = typing_.typist;
};

TEST_F(X11KeyEventPosterTest, ShowsExactlyThePasteChordWhateverIsHeld) {
  Target target("Editor");
  typing_.bringToFront(target);
  typist_.tap(Typist::capsLock);
  std::size_t pastes = 0;
  for (const auto& held :
       std::vector<std::vector<xcb_keycode_t>>{{},
                                               {Typist::super, Typist::alt},
                                               {Typist::control, Typist::alt},
                                               {Typist::super, Typist::shift},
                                               {Typist::control, Typist::shift}}) {
    for (const bool byPerson : {true, false}) {
      for (const auto key : held) {
        byPerson ? typist_.press(key) : typist_.pressThroughXTest(key);
      }
      typist_.sync();
      const auto before = typist_.down();
      paste();
      expectPastes(target, ++pastes);
      EXPECT_TRUE(turnQtUntil([&] { return typist_.down() == before; }));
      for (const auto key : held) {
        byPerson ? typist_.release(key) : typist_.releaseThroughXTest(key);
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
  typing_.bringToFront(target);
  X11HotKeys hotKeys(typing_.connection);
  for (std::uint32_t digit = 1; digit <= 3; ++digit) {
    const auto code = *HotKeyConfig::keyCodeForDigit(static_cast<int>(digit));
    EXPECT_EQ(hotKeys.registerHotKey({code, 0x900}, {7, digit}).status, HotKeyCenter::noError);
  }
  std::vector<std::uint32_t> pressed;
  hotKeys.installEventHandler([&](const HotKeyIdentity& identity) {
    pressed.push_back(identity.id);
    paste();
  });
  runInShell("xset r rate 30 100");
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
  runInShell("xset r rate");
}

TEST_F(X11KeyEventPosterTest, LeavesNothingDownWheneverThePersonLetsGo) {
  Target target("Editor");
  typing_.bringToFront(target);
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
    runInShell(std::string("setxkbmap -layout ") + row.layout);
    Target target(row.windowClass);
    typing_.bringToFront(target);
    typing_.offers = 0;
    typist_.press({Typist::super, Typist::alt});
    paste();
    EXPECT_THAT(seenBy(target, 1), ElementsAre(row.seen)) << row.windowClass << row.layout;
    EXPECT_EQ(typing_.offers, row.seen == shiftInsert ? 1 : 0) << row.windowClass << row.layout;
    typist_.release({Typist::alt, Typist::super});
    EXPECT_TRUE(nothingIsDown());
  }
}

TEST_F(X11KeyEventPosterTest, WaitsForTheActivationUnderWay) {
  Target first("First");
  Target second("Second");
  typing_.bringToFront(second);
  typing_.bringToFront(first);
  typing_.awaited = second.application().window;
  paste();
  typing_.workspace.activate(second.application());
  EXPECT_THAT(seenBy(second, 1), ElementsAre(controlV));
  // One that never comes does not keep the paste from whoever is in front.
  typing_.awaited = 0x7fffffff;
  paste();
  paste();
  EXPECT_THAT(seenBy(second, 3), ElementsAre(controlV, controlV, controlV));
  EXPECT_TRUE(first.seen().empty());
}

TEST_F(X11KeyEventPosterTest, WaitsForTheClipToBeOnTheClipboard) {
  Target target("Editor");
  typing_.bringToFront(target);
  typing_.isPublishingHeld = true;
  paste();
  ASSERT_TRUE(turnQtUntil([&] { return !typing_.heldPublishing.empty(); }));
  typist_.tap(Typist::capsLock);  // comes after whatever was typed too early
  typist_.tap(Typist::capsLock);
  EXPECT_EQ(std::ranges::count(target.seen(), controlV), 0);
  typing_.heldPublishing.front()();
  EXPECT_TRUE(turnQtUntil([&] { return std::ranges::count(target.seen(), controlV) == 1; }));
}

TEST_F(X11KeyEventPosterTest, ItsEndWaitsForNothingAndLeavesNothingDown) {
  Target target("Editor");
  typing_.bringToFront(target);
  typist_.press({Typist::super, Typist::alt});
  paste();
  expectPastes(target, 1);
  typing_.isPublishingHeld = true;
  paste();
  ASSERT_TRUE(turnQtUntil([&] { return !typing_.heldPublishing.empty(); }));
  typing_.poster.reset();
  typist_.release({Typist::alt, Typist::super});
  EXPECT_TRUE(nothingIsDown());
  expectPastes(target, 1);
}

TEST(X11KeyEventPoster, IsNotMadeWhereNoProgramMayType) {
  const QtApplication application;
  QtRunLoop loop;
  const FakeApplicationIdentifying applications;
  const PrivateServer server({"-noreset", "-extension", "XTEST"});
  EXPECT_FALSE(
      X11KeyEventPoster::create(*X11MainConnection::open(server.display), loop, applications, {}));
}

}  // namespace
}  // namespace stowboard
