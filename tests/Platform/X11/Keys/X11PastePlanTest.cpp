#include "Platform/X11/Keys/X11PastePlan.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <xkbcommon/xkbcommon-keysyms.h>

#include <map>
#include <string>
#include <vector>

#include "Models/HotKeyConfig.h"
#include "Platform/KeyPositions.h"
#include "Platform/PasteChord.h"

namespace stowboard {
namespace {

constexpr xcb_keycode_t one = 10, controlL = 37, shiftL = 50, v = 55, altL = 64, capsLock = 66,
                        numLock = 77, controlR = 105, insert = 118, super = 133;

struct Key {
  xcb_keycode_t key;
  std::vector<xcb_keysym_t> symbols;
  std::uint8_t modifiers = 0;
};

X11KeyboardMap keyboard(const std::vector<Key>& keys) {
  X11KeyboardMap::Symbols symbols;
  X11KeyboardMap::Modifiers modifiers{};
  for (const auto& each : keys) {
    symbols[each.key] = each.symbols;
    modifiers[each.key] = each.modifiers;
  }
  return {symbols, modifiers};
}

X11KeyboardMap usKeyboard(std::uint8_t ofSuper = XCB_MOD_MASK_4,
                          std::uint8_t ofAlt = XCB_MOD_MASK_1) {
  return keyboard({{controlL, {XKB_KEY_Control_L}, XCB_MOD_MASK_CONTROL},
                   {controlR, {XKB_KEY_Control_R}, XCB_MOD_MASK_CONTROL},
                   {shiftL, {XKB_KEY_Shift_L}, XCB_MOD_MASK_SHIFT},
                   {altL, {XKB_KEY_Alt_L}, ofAlt},
                   {super, {XKB_KEY_Super_L}, ofSuper},
                   {capsLock, {XKB_KEY_Caps_Lock}, XCB_MOD_MASK_LOCK},
                   {numLock, {XKB_KEY_Num_Lock}, XCB_MOD_MASK_2},
                   {v, {XKB_KEY_v}}});
}

X11KeySet keySet(const std::vector<xcb_keycode_t>& keys) {
  X11KeySet set;
  for (const auto key : keys) set.set(key);
  return set;
}

std::string written(const std::vector<KeyStep>& steps) {
  const std::map<xcb_keycode_t, const char*> names{
      {one, "1"},       {controlL, "Ctrl"}, {shiftL, "Shift"}, {v, "v"},
      {altL, "Alt"},    {capsLock, "Caps"}, {numLock, "Num"},  {controlR, "CtrlR"},
      {super, "Super"}, {insert, "Ins"}};
  std::string text;
  for (const auto& [key, isPress] : steps) {
    text += (text.empty() ? "" : " ") + std::string(isPress ? "+" : "-") + names.at(key);
  }
  return text;
}

struct Row {
  const char* name;
  KeyStroke stroke;
  std::vector<xcb_keycode_t> held;
  std::string steps;
};

constexpr KeyStroke controlV{v, true, false};
constexpr KeyStroke controlShiftV{v, true, true};
constexpr KeyStroke shiftInsert{insert, false, true};

TEST(X11PastePlan, LiftsWhatIsHeldBehindControlAndPutsItBack) {
  const std::vector<Row> rows = {
      {"nothing", controlV, {}, "+Ctrl +v -v -Ctrl"},
      {"a hot key", controlV, {one, altL, super}, "-1 +Ctrl -Alt -Super +v -v +Alt +Super -Ctrl"},
      {"shift is no part of it",
       controlV,
       {shiftL, super},
       "+Ctrl -Shift -Super +v -v +Shift +Super -Ctrl"},
      {"shift is part of it", controlShiftV, {shiftL, super}, "+Ctrl -Super +v -v +Super -Ctrl"},
      {"control alone serves", controlV, {controlL}, "+v -v"},
      {"control with another", controlV, {controlL, altL}, "+CtrlR -Alt +v -v +Alt -CtrlR"},
      {"a terminal", controlShiftV, {altL}, "+Ctrl -Alt +Shift +v -v -Shift +Alt -Ctrl"},
      {"no control in it",
       shiftInsert,
       {altL, controlL},
       "+CtrlR -Ctrl -Alt -CtrlR +Shift +Ins -Ins -Shift +CtrlR +Ctrl +Alt -CtrlR"},
      {"lock keys", controlV, {capsLock, numLock}, "+Ctrl +v -v -Ctrl"},
  };
  for (const auto& row : rows) {
    const auto held = keySet(row.held);
    const auto byPerson = planStroke(row.stroke, {held, held, {}}, usKeyboard(), {});
    EXPECT_EQ(written(byPerson.steps), row.steps) << row.name;
    const auto byPrograms = planStroke(row.stroke, {held, {}, held}, usKeyboard(), {});
    EXPECT_EQ(byPrograms.steps, byPerson.steps) << row.name;
    EXPECT_TRUE(byPrograms.restoredForPerson.none()) << row.name;
  }
}

TEST(X11PastePlan, PressesNothingAgainThatNobodyHolds) {
  const HeldKeys held{keySet({altL, super}), keySet({altL}), {}};
  const auto plan = planStroke(controlV, held, usKeyboard(), keySet({one}));
  EXPECT_EQ(written(plan.steps), "-1 +Ctrl -Alt -Super +v -v +Alt -Ctrl");
  EXPECT_EQ(plan.restoredForPerson, keySet({altL}));
  EXPECT_EQ(written(planRelease(keySet({altL}), held.down, usKeyboard())), "+Ctrl -Alt -Ctrl");
}

TEST(X11PastePlan, ChoosesTheChordByTheTarget) {
  EXPECT_EQ(pasteChord("Gedit", false, true), PasteChord::controlV);
  EXPECT_EQ(pasteChord("Xfce4-terminal", true, true), PasteChord::controlShiftV);
  EXPECT_EQ(pasteChord("st-256color", false, true), PasteChord::controlShiftV);
  // Its desktop entry says that it is a terminal.
  EXPECT_EQ(pasteChord("XTerm", true, true), PasteChord::shiftInsert);
  EXPECT_EQ(pasteChord("Emacs", false, true), PasteChord::shiftInsert);
  EXPECT_EQ(pasteChord("Gvim", false, true), PasteChord::shiftInsert);
  EXPECT_EQ(pasteChord("Gedit", false, false), PasteChord::shiftInsert);
  EXPECT_EQ(pasteChord("Xfce4-terminal", true, false), PasteChord::shiftInsert);
}

TEST(X11KeyboardMap, FindsModifiersWhereverTheyAre) {
  const auto map = usKeyboard();
  EXPECT_EQ(map.modifiersForMask(ModifierMask::command | ModifierMask::option), 0x48);
  EXPECT_EQ(map.lockModifiers(), XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2);
  const auto other = usKeyboard(XCB_MOD_MASK_3, 0);
  EXPECT_EQ(other.modifiersForMask(ModifierMask::command | ModifierMask::shift), 0x21);
  EXPECT_EQ(other.modifiersForMask(ModifierMask::option), std::nullopt);
}

TEST(X11KeyboardMap, PrefersTheGroupInForce) {
  const auto map = keyboard({{v, {XKB_KEY_v, XKB_KEY_k, XKB_KEY_Cyrillic_em}},
                             {60, {XKB_KEY_period, XKB_KEY_v, XKB_KEY_Cyrillic_yu}}});
  EXPECT_EQ(map.keyFor(XKB_KEY_v, 0), v);
  EXPECT_EQ(map.keyFor(XKB_KEY_v, 1), 60);
  EXPECT_EQ(map.keyFor(XKB_KEY_v, 2), v);
  EXPECT_EQ(map.keyFor(XKB_KEY_q, 0), std::nullopt);
}

TEST(X11KeyboardMap, KnowsEveryKeyOfTheDigitsAndNoneTwice) {
  for (int digit = 1; digit <= 9; ++digit) {
    EXPECT_EQ(xkbKeyCode(*HotKeyConfig::keyCodeForDigit(digit)), 9 + digit);
  }
  X11KeySet seen;
  for (std::uint32_t code = 0; code < 128; ++code) {
    const auto key = xkbKeyCode(code);
    if (!key) continue;
    EXPECT_FALSE(seen.test(*key)) << code;
    seen.set(*key);
  }
  for (const auto& option : KeyOption::allOptions()) {
    EXPECT_TRUE(xkbKeyCode(option.keyCode)) << option.name;
  }
}

}  // namespace
}  // namespace stowboard
