#include "Platform/X11/Keys/X11KeyInjector.h"

#include <xcb/xinput.h>
#include <xcb/xtest.h>

#include <algorithm>
#include <string_view>
#include <utility>

namespace stowboard {

namespace {

// The property that the server marks the devices with that XTest types on.
constexpr std::string_view xtestMark = "XTEST Device";

bool hasInputExtension(xcb_connection_t* connection) {
  if (findExtension(connection, xcb_input_id) == nullptr) return false;
  const auto version = awaitReply(xcb_input_xi_query_version_reply, connection,
                                  xcb_input_xi_query_version(connection, 2, 0));
  return version != nullptr && version->major_version >= 2;
}

std::vector<xcb_input_device_id_t> slaveKeyboards(xcb_connection_t* connection) {
  std::vector<xcb_input_device_id_t> devices;
  const auto reply = awaitReply(xcb_input_xi_query_device_reply, connection,
                                xcb_input_xi_query_device(connection, XCB_INPUT_DEVICE_ALL));
  if (!reply) return devices;
  auto each = xcb_input_xi_query_device_infos_iterator(reply.get());
  for (; each.rem > 0; xcb_input_xi_device_info_next(&each)) {
    if (each.data->type == XCB_INPUT_DEVICE_TYPE_SLAVE_KEYBOARD) {
      devices.push_back(each.data->deviceid);
    }
  }
  return devices;
}

X11KeySet keysOfState(const xcb_input_query_device_state_reply_t& reply) {
  auto each = xcb_input_query_device_state_classes_iterator(&reply);
  for (; each.rem > 0; xcb_input_input_state_next(&each)) {
    if (each.data->class_id != XCB_INPUT_INPUT_CLASS_KEY) continue;
    return x11KeySet(reinterpret_cast<const xcb_input_key_state_t*>(each.data)->keys);
  }
  return {};
}

// Digits are what hot keys are made of, and may go down at any moment.
X11KeySet digitRow() {
  X11KeySet keys;
  for (std::size_t key = 10; key <= 19; ++key) keys.set(key);
  return keys;
}

}  // namespace

bool X11KeyInjector::isPossible(xcb_connection_t* connection) {
  return findExtension(connection, xcb_test_id) != nullptr &&
         awaitReply(xcb_test_get_version_reply, connection,
                    xcb_test_get_version(connection, 2, 2)) != nullptr;
}

X11KeyInjector::X11KeyInjector(xcb_connection_t* connection) : connection_(connection) {
  readKeyboard();
}

void X11KeyInjector::readKeyboard() {
  keyboard_ = X11KeyboardMap::read(connection_);
  keyboards_ = findKeyboards();
  groups_ = readGroups();
}

X11KeyInjector::Keyboards X11KeyInjector::findKeyboards() const {
  Keyboards keyboards;
  if (!hasInputExtension(connection_)) return keyboards;
  const auto mark = internAtom(connection_, xtestMark);
  for (const auto device : slaveKeyboards(connection_)) {
    const auto reply = awaitReply(
        xcb_input_xi_get_property_reply, connection_,
        xcb_input_xi_get_property(connection_, device, 0, mark, XCB_GET_PROPERTY_TYPE_ANY, 0, 1));
    const bool isOfPrograms = reply && reply->type != XCB_ATOM_NONE;
    (isOfPrograms ? keyboards.ofPrograms : keyboards.ofPersons).push_back(device);
  }
  return keyboards;
}

X11KeyInjector::Groups X11KeyInjector::readGroups() const {
  if (findExtension(connection_, xcb_xkb_id) == nullptr) return {};
  const auto state = awaitReply(xcb_xkb_get_state_reply, connection_,
                                xcb_xkb_get_state(connection_, XCB_XKB_ID_USE_CORE_KBD));
  return state ? Groups{state->group, state->lockedGroup} : Groups{};
}

std::optional<xcb_keycode_t> X11KeyInjector::keyFor(xcb_keysym_t symbol) const {
  return keyboard_.keyFor(symbol, groups_.effective);
}

X11KeySet X11KeyInjector::readDown() const {
  const auto reply = awaitReply(xcb_query_keymap_reply, connection_, xcb_query_keymap(connection_));
  return reply ? x11KeySet(reply->keys) : X11KeySet{};
}

X11KeySet X11KeyInjector::readDown(const std::vector<xcb_input_device_id_t>& devices) const {
  std::vector<xcb_input_query_device_state_cookie_t> asked;
  for (const auto device : devices) {
    asked.push_back(xcb_input_query_device_state(connection_, static_cast<std::uint8_t>(device)));
  }
  X11KeySet keys;
  for (const auto& each : asked) {
    const auto reply = awaitReply(xcb_input_query_device_state_reply, connection_, each);
    if (reply) keys |= keysOfState(*reply);
  }
  return keys;
}

// Without the input extension nobody knows who holds what: then programs do.
HeldKeys X11KeyInjector::readHeld() const {
  HeldKeys held{readDown(), readDown(keyboards_.ofPersons), readDown(keyboards_.ofPrograms)};
  if (keyboards_.ofPersons.empty()) held.byPrograms = held.down;
  held.byPrograms &= ~restored_;
  return held;
}

void X11KeyInjector::send(const KeyStroke& stroke) {
  const auto held = readHeld();
  auto plan = planStroke(stroke, held, keyboard_, digitRow() | (restored_ & ~held.down));
  type(plan.steps);
  restored_ = plan.restoredForPerson;
  letGo();
  keepGroup();
}

bool X11KeyInjector::letGo() {
  const X11KeySet gone = restored_ & ~readDown(keyboards_.ofPersons);
  if (gone.any()) release(gone);
  return restored_.any();
}

void X11KeyInjector::release(const X11KeySet& gone) {
  restored_ &= ~gone;
  const X11KeySet down = readDown();
  // The device that programs type on has all of them down; applications see those in `down`.
  auto steps = (gone & down).any() ? planRelease(gone, down, keyboard_) : std::vector<KeyStep>{};
  if (steps.empty()) {
    for (const auto key : keysOf(gone)) steps.push_back({key, false});
  }
  type(steps);
}

// Some layouts switch their group on a chord of modifiers that a paste chord contains.
void X11KeyInjector::keepGroup() {
  if (readGroups().locked == groups_.locked) return;
  xcb_xkb_latch_lock_state(connection_, XCB_XKB_ID_USE_CORE_KBD, 0, 0, 1, groups_.locked, 0, 0, 0);
  xcb_flush(connection_);
}

// In one piece, so that as little as possible that a person types comes in between.
void X11KeyInjector::type(const std::vector<KeyStep>& steps) {
  for (const auto& step : steps) {
    xcb_test_fake_input(connection_, step.isPress ? XCB_KEY_PRESS : XCB_KEY_RELEASE, step.key,
                        XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
  }
  // Returns when the server has taken them.
  awaitReply(xcb_get_input_focus_reply, connection_, xcb_get_input_focus(connection_));
}

}  // namespace stowboard
