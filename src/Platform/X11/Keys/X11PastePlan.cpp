#include "Platform/X11/Keys/X11PastePlan.h"

#include <algorithm>
#include <optional>

namespace stowboard {

namespace {

std::optional<xcb_keycode_t> freeKey(const X11KeyboardMap& keyboard, std::uint8_t modifier,
                                     const X11KeySet& down) {
  for (const auto key : keyboard.keysHolding(modifier)) {
    if (!down.test(key)) return key;
  }
  return std::nullopt;
}

class Planner {
 public:
  Planner(const HeldKeys& held, const X11KeyboardMap& keyboard)
      : held_(held),
        keyboard_(keyboard),
        guard_(freeKey(keyboard, XCB_MOD_MASK_CONTROL, held.down)) {}

  StrokePlan plan(const KeyStroke& stroke, const X11KeySet& alsoLifted) {
    sort(stroke);
    release(ordinary_ | alsoLifted);
    // A Control that belongs to the stroke stays down throughout.
    const bool isPartOfStroke = stroke.control;
    const bool isGuarded = lifted_.any() || (isPartOfStroke && !hasControl_);
    if (isGuarded) pressGuard();
    release(lifted_);
    if (isGuarded && !isPartOfStroke) releaseGuard();
    send(stroke);
    if (isGuarded && !isPartOfStroke && restored_.any()) pressGuard();
    for (const auto key : keysOf(restored_)) add(key, true);
    if (isGuarded && (isPartOfStroke || restored_.any())) releaseGuard();
    return {std::move(steps_), restored_ & held_.byPerson};
  }

  std::vector<KeyStep> planRelease(const X11KeySet& keys) {
    pressGuard();
    release(keys);
    releaseGuard();
    return std::move(steps_);
  }

 private:
  void sort(const KeyStroke& stroke) {
    for (const auto key : keysOf(held_.down)) {
      const auto modifiers = keyboard_.modifiers(key);
      if (modifiers == 0) {
        ordinary_.set(key);
      } else if (modifiers == XCB_MOD_MASK_CONTROL && stroke.control) {
        hasControl_ = true;
      } else if (modifiers == XCB_MOD_MASK_SHIFT && stroke.shift) {
        hasShift_ = true;
      } else if (keyboard_.isHoldModifier(key)) {
        lifted_.set(key);
      }
    }
    restored_ = lifted_ & (held_.byPerson | held_.byPrograms);
  }

  void send(const KeyStroke& stroke) {
    const auto shift = stroke.shift && !hasShift_
                           ? freeKey(keyboard_, XCB_MOD_MASK_SHIFT, held_.down)
                           : std::nullopt;
    if (shift) add(*shift, true);
    add(stroke.key, true);
    add(stroke.key, false);
    if (shift) add(*shift, false);
  }

  void add(xcb_keycode_t key, bool isPress) { steps_.push_back({key, isPress}); }
  void release(const X11KeySet& keys) {
    for (const auto key : keysOf(keys)) add(key, false);
  }
  void pressGuard() {
    if (guard_) add(*guard_, true);
  }
  void releaseGuard() {
    if (guard_) add(*guard_, false);
  }

  const HeldKeys& held_;
  const X11KeyboardMap& keyboard_;
  const std::optional<xcb_keycode_t> guard_;
  X11KeySet ordinary_;
  X11KeySet lifted_;
  X11KeySet restored_;
  bool hasControl_ = false;
  bool hasShift_ = false;
  std::vector<KeyStep> steps_;
};

}  // namespace

StrokePlan planStroke(const KeyStroke& stroke, const HeldKeys& held, const X11KeyboardMap& keyboard,
                      const X11KeySet& alsoLifted) {
  return Planner(held, keyboard).plan(stroke, alsoLifted);
}

std::vector<KeyStep> planRelease(const X11KeySet& keys, const X11KeySet& down,
                                 const X11KeyboardMap& keyboard) {
  const HeldKeys held{down, {}, {}};
  return Planner(held, keyboard).planRelease(keys);
}

}  // namespace stowboard
