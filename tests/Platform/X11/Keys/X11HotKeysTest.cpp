#include "Platform/X11/Keys/X11HotKeys.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <vector>

#include "Platform/KeyPositions.h"
#include "Platform/QtTurns.h"
#include "Platform/X11/Keys/Typist.h"
#include "contract/HotKeyCenterContract.h"
#include "fakes/LogCapture.h"

namespace stowboard {
namespace {

class RealHotKeysHarness {
 public:
  X11HotKeys& center() { return hotKeys_; }
  Typist& typist() { return typist_; }

  void press(const HotKeyConfig& config) {
    const auto modifiers = modifierKeys(config.modifiers);
    for (const auto key : modifiers) typist_.press(key);
    typist_.tap(*xkbKeyCode(config.keyCode));
    for (const auto key : modifiers) typist_.release(key);
    typist_.sync();
  }
  void holdElsewhere(const HotKeyConfig& config) {
    otherProgram_.emplace(X11MainConnection::open());
    EXPECT_EQ(otherProgram_->registerHotKey(config, {}).status, HotKeyCenter::noError);
  }
  void releaseElsewhere(const HotKeyConfig&) {
    otherProgram_.reset();
    // The server gives back what a program held once it sees the connection end.
    EXPECT_TRUE(turnUntil([&] {
      const auto reference = hotKeys_.registerHotKey({18, 0x900}, {}).reference;
      hotKeys_.unregisterHotKey(reference);
      return reference != 0;
    }));
  }
  bool turnUntil(const std::function<bool()>& condition) { return turnQtUntil(condition); }

 private:
  static std::vector<xcb_keycode_t> modifierKeys(std::uint32_t mask) {
    std::vector<xcb_keycode_t> keys;
    if (mask & ModifierMask::command) keys.push_back(Typist::super);
    if (mask & ModifierMask::option) keys.push_back(Typist::alt);
    if (mask & ModifierMask::shift) keys.push_back(Typist::shift);
    if (mask & ModifierMask::control) keys.push_back(Typist::control);
    return keys;
  }

  QtApplication application_;
  Typist typist_;
  X11HotKeys hotKeys_{X11MainConnection::open()};
  std::optional<X11HotKeys> otherProgram_;
};

INSTANTIATE_TYPED_TEST_SUITE_P(X11, HotKeyCenterContract, RealHotKeysHarness);

class X11HotKeysTest : public HotKeyCenterContract<RealHotKeysHarness> {
 protected:
  X11HotKeysTest() {
    take(panel_, 1);
    take(one_, 101);
    take(two_, 102);
  }
  ~X11HotKeysTest() override { runInShell("setxkbmap us"); }

  X11HotKeys& center() { return harness_.center(); }
  Typist& typist() { return harness_.typist(); }
  bool arrives(const HotKeyConfig& config) {
    pressed_.clear();
    return harness_.turnUntil([&] {
      harness_.press(config);
      return !pressed_.empty();
    });
  }
};

TEST_F(X11HotKeysTest, IgnoresWhetherLockKeysAreOn) {
  for (const auto lock : {Typist::capsLock, Typist::numLock, Typist::capsLock, Typist::numLock}) {
    typist().tap(lock);
    pressed_.clear();
    harness_.press(panel_);
    EXPECT_TRUE(delivers({1})) << int{lock};
  }
}

TEST_F(X11HotKeysTest, NamesPositionsWhateverTheLayout) {
  for (const auto* layout : {"ru", "gr", "us -variant dvorak", "fr", "us,ru"}) {
    runInShell(std::string("setxkbmap -layout ") + layout);
    pressed_.clear();
    harness_.press(panel_);
    harness_.press(one_);
    EXPECT_TRUE(delivers({1, 101})) << layout;
  }
}

TEST_F(X11HotKeysTest, FollowsTheModifiersToOtherBits) {
  runInShell(
      "xmodmap -e 'clear mod4' -e 'clear mod2' -e 'add mod3 = Super_L' -e 'add mod4 = Num_Lock'");
  typist().tap(Typist::numLock);
  // Until the announcement has arrived, presses are missed.
  EXPECT_TRUE(arrives(panel_));
  typist().tap(Typist::numLock);
  runInShell("setxkbmap us");
  EXPECT_TRUE(arrives(one_));
}

TEST_F(X11HotKeysTest, CountsAHeldKeyOnceAndTheKeysPressedWithItToo) {
  runInShell("xset r rate 30 100");
  typist().press({Typist::super, Typist::alt, Typist::one});
  typist().release(Typist::one, 300);
  typist().tap(Typist::two);
  EXPECT_TRUE(delivers({101, 102}));
  // The second comes before the first is released.
  typist().press({Typist::one, Typist::two});
  typist().release({Typist::two, Typist::one});
  typist().tap(Typist::two);
  EXPECT_TRUE(delivers({101, 102, 101, 102, 102}));
  typist().release({Typist::alt, Typist::super});
  runInShell("xset r rate");
}

TEST_F(X11HotKeysTest, TellsWhyACombinationIsRefused) {
  const LogCapture log;
  using Status = HotKeyCenter::Status;
  EXPECT_EQ(center().registerHotKey({200, 0x100}, {}).status, Status{X11HotKeys::noSuchKey});
  harness_.holdElsewhere({22, 0x900});
  EXPECT_EQ(center().registerHotKey({22, 0x900}, {}).status, XCB_ACCESS);
  runInShell("xmodmap -e 'clear mod4'");
  EXPECT_TRUE(harness_.turnUntil([&] {
    return center().registerHotKey({23, 0x100}, {}).status == Status{X11HotKeys::noSuchModifier};
  }));
}

// One lock combination of the key is taken: the rest must not stay with us.
TEST_F(X11HotKeysTest, KeepsNothingOfARefusedCombination) {
  auto& x = typist().connection();
  xcb_grab_key(x.xcb(), 0, x.root(), XCB_MOD_MASK_4 | XCB_MOD_MASK_LOCK, 13, XCB_GRAB_MODE_ASYNC,
               XCB_GRAB_MODE_ASYNC);
  typist().sync();
  EXPECT_EQ(center().registerHotKey({21, 0x100}, {}).status, XCB_ACCESS);
  // Our giving back and the other program's request come on two connections.
  EXPECT_TRUE(harness_.turnUntil([&] {
    const auto asked = xcb_grab_key_checked(x.xcb(), 0, x.root(), XCB_MOD_MASK_4, 13,
                                            XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
    return !XcbPointer<xcb_generic_error_t>(xcb_request_check(x.xcb(), asked));
  }));
}

// They are given back although others go on with the connection.
TEST(X11HotKeys, GiveAllBackInTheEnd) {
  const QtApplication application;
  const auto shared = X11MainConnection::open();
  constexpr HotKeyConfig config{18, ModifierMask::command};
  std::optional<X11HotKeys> ending(std::in_place, shared);
  EXPECT_EQ(ending->registerHotKey(config, {7, 1}).status, HotKeyCenter::noError);
  X11HotKeys other(X11MainConnection::open());
  EXPECT_EQ(other.registerHotKey(config, {7, 2}).status, XCB_ACCESS);
  ending.reset();
  EXPECT_TRUE(turnQtUntil(
      [&] { return other.registerHotKey(config, {7, 2}).status == HotKeyCenter::noError; }));
}

}  // namespace
}  // namespace stowboard
