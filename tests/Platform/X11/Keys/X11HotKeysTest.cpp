#include "Platform/X11/Keys/X11HotKeys.h"

#include <gtest/gtest.h>

#include <QProcess>
#include <memory>
#include <vector>

#include "Platform/Qt/QtRunLoop.h"
#include "Platform/QtTurns.h"
#include "Platform/X11/Keys/Typist.h"
#include "contract/HotKeyCenterContract.h"
#include "fakes/LogCapture.h"

namespace stowboard {
namespace {

using Ids = std::vector<std::uint32_t>;

class RealHotKeysHarness {
 public:
  X11HotKeys& center() { return *hotKeys_; }
  Typist& typist() { return typist_; }

  void press(const HotKeyConfig& config) {
    const auto modifiers = modifierKeys(config.modifiers);
    for (const auto key : modifiers) typist_.press(key);
    typist_.tap(*x11KeyCode(config.keyCode));
    for (const auto key : modifiers) typist_.release(key);
    typist_.sync();
  }
  void holdElsewhere(const HotKeyConfig& config) {
    otherProgram_ = X11HotKeys::create(loop_);
    EXPECT_EQ(otherProgram_->registerHotKey(config, {}).status, HotKeyCenter::noError);
  }
  void releaseElsewhere(const HotKeyConfig&) {
    otherProgram_.reset();
    // The server gives back what a program held once it sees the connection end.
    EXPECT_TRUE(turnUntil([&] {
      const auto reference = hotKeys_->registerHotKey({18, 0x900}, {}).reference;
      hotKeys_->unregisterHotKey(reference);
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
  QtRunLoop loop_;
  Typist typist_;
  std::unique_ptr<X11HotKeys> hotKeys_ = X11HotKeys::create(loop_);
  std::unique_ptr<X11HotKeys> otherProgram_;
};

INSTANTIATE_TYPED_TEST_SUITE_P(X11, HotKeyCenterContract, RealHotKeysHarness);

class X11HotKeysTest : public ::testing::Test {
 protected:
  X11HotKeysTest() {
    center().installEventHandler(
        [this](const HotKeyIdentity& identity) { pressed_.push_back(identity.id); });
    center().registerHotKey(HotKeyConfig::defaultConfig, {7, 1});
    center().registerHotKey(one_, {7, 101});
    center().registerHotKey(two_, {7, 102});
  }
  ~X11HotKeysTest() override { run("setxkbmap us"); }

  X11HotKeys& center() { return harness_.center(); }
  Typist& typist() { return harness_.typist(); }
  static void run(const char* command) { QProcess::execute("sh", {"-c", command}); }
  ::testing::AssertionResult delivers(const Ids& ids) {
    harness_.turnUntil([&] { return pressed_.size() >= ids.size(); });
    if (pressed_ == ids) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << ::testing::PrintToString(pressed_);
  }

  static constexpr HotKeyConfig one_{18, ModifierMask::command | ModifierMask::option};
  static constexpr HotKeyConfig two_{19, ModifierMask::command | ModifierMask::option};
  RealHotKeysHarness harness_;
  Ids pressed_;
};

TEST_F(X11HotKeysTest, IgnoresWhetherLockKeysAreOn) {
  for (const auto lock : {Typist::capsLock, Typist::numLock, Typist::capsLock, Typist::numLock}) {
    typist().tap(lock);
    pressed_.clear();
    harness_.press(HotKeyConfig::defaultConfig);
    EXPECT_TRUE(delivers({1})) << int{lock};
  }
}

TEST_F(X11HotKeysTest, NamesPositionsWhateverTheLayout) {
  for (const auto* layout : {"ru", "gr", "us -variant dvorak", "fr", "us,ru"}) {
    run((std::string("setxkbmap -layout ") + layout).c_str());
    pressed_.clear();
    harness_.press(HotKeyConfig::defaultConfig);
    harness_.press(one_);
    EXPECT_TRUE(delivers({1, 101})) << layout;
  }
}

TEST_F(X11HotKeysTest, FollowsTheModifiersToOtherBits) {
  run("xmodmap -e 'clear mod4' -e 'clear mod2' -e 'add mod3 = Super_L' -e 'add mod4 = Num_Lock'");
  typist().tap(Typist::numLock);
  // Until the announcement has arrived, presses are missed.
  EXPECT_TRUE(harness_.turnUntil([&] {
    harness_.press(HotKeyConfig::defaultConfig);
    return !pressed_.empty();
  }));
  typist().tap(Typist::numLock);
  run("setxkbmap us");
  pressed_.clear();
  EXPECT_TRUE(harness_.turnUntil([&] {
    harness_.press(one_);
    return !pressed_.empty();
  }));
}

TEST_F(X11HotKeysTest, CountsAHeldKeyOnceAndTheKeysPressedWithItToo) {
  run("xset r rate 30 100");
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
  run("xset r rate");
}

TEST_F(X11HotKeysTest, TellsWhyACombinationIsRefused) {
  const LogCapture log;
  using Status = HotKeyCenter::Status;
  EXPECT_EQ(center().registerHotKey({200, 0x100}, {}).status, Status{X11HotKeys::noSuchKey});
  harness_.holdElsewhere({22, 0x900});
  EXPECT_EQ(center().registerHotKey({22, 0x900}, {}).status, XCB_ACCESS);
  run("xmodmap -e 'clear mod4'");
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

TEST(X11HotKeys, AreNotMadeWithoutAnXServer) {
  const QtApplication application;
  QtRunLoop loop;
  EXPECT_FALSE(X11HotKeys::create(loop, "/nowhere:99"));
}

}  // namespace
}  // namespace stowboard
