#include "Platform/X11/Keys/X11HotKeys.h"

#include <xcb/xinput.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "Base/Log.h"
#include "Platform/KeyPositions.h"

namespace stowboard {

namespace {

// The server does not send core MappingNotify events to a connection that uses XKB.
void followMap(xcb_connection_t* connection) {
  constexpr std::uint16_t events =
      XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY;
  constexpr std::uint16_t parts = XCB_XKB_MAP_PART_KEY_SYMS | XCB_XKB_MAP_PART_MODIFIER_MAP;
  xcb_xkb_select_events(connection, XCB_XKB_ID_USE_CORE_KBD, events, 0, events, parts, parts,
                        nullptr);
}

// A key that is held then sends presses only, without a release before each.
void askDetectableRepeat(xcb_connection_t* connection) {
  constexpr std::uint32_t detectable = XCB_XKB_PER_CLIENT_FLAG_DETECTABLE_AUTO_REPEAT;
  xcb_discard_reply(connection, xcb_xkb_per_client_flags(connection, XCB_XKB_ID_USE_CORE_KBD,
                                                         detectable, detectable, 0, 0, 0)
                                    .sequence);
  xcb_flush(connection);
}

// Every combination of the lock modifiers, none included.
std::vector<std::uint16_t> combinations(std::uint8_t locks) {
  std::vector<std::uint16_t> all;
  for (unsigned bits = locks;; bits = (bits - 1) & locks) {
    all.push_back(static_cast<std::uint16_t>(bits));
    if (bits == 0) return all;
  }
}

}  // namespace

X11HotKeys::X11HotKeys(std::shared_ptr<X11MainConnection> connection,
                       std::shared_ptr<X11MainConnection> others)
    : connection_(std::move(connection)),
      asking_(others ? others : connection_),
      hold_(X11KeyboardHold::create(connection_, std::move(others))),
      keyboard_(X11KeyboardMap::read(xcb())),
      subscription_(connection_->subscribe(
          {[this](const xcb_generic_event_t& event) { return handle(event); },
           [this] { followKeyboard(); },
           [] {
             Log::hotKey.error("The connection to the X server broke; hot keys no longer work");
           }})) {
  // The server tells the grabs' window of their beginning and end as of a change of focus.
  connection_->connection().selectOnRoot(XCB_EVENT_MASK_FOCUS_CHANGE);
  if (const auto* input = findExtension(xcb(), xcb_input_id)) {
    inputExtension_ = input->major_opcode;
    // Raw events come only to a client that has named its version; during grabs from 2.1 on.
    xcb_discard_reply(xcb(), xcb_input_xi_query_version(xcb(), 2, 2).sequence);
  }
  const auto* xkb = findExtension(xcb(), xcb_xkb_id);
  if (xkb == nullptr) return;
  firstXkbEvent_ = xkb->first_event;
  followMap(xcb());
  askDetectableRepeat(xcb());
}

X11HotKeys::~X11HotKeys() {
  ungrabAll();
  xcb_flush(xcb());
}

HotKeyCenter::Status X11HotKeys::installEventHandler(Handler handler) {
  handler_ = std::move(handler);
  return noError;
}

HotKeyCenter::Registration X11HotKeys::registerHotKey(const HotKeyConfig& config,
                                                      const HotKeyIdentity& identity) {
  releaseTyping();
  HotKey hotKey{config, identity, std::nullopt};
  const Status status = take(hotKey);
  if (status != noError) return {status, 0};
  hotKeys_.emplace(++lastReference_, std::move(hotKey));
  return {noError, lastReference_};
}

void X11HotKeys::unregisterHotKey(Reference reference) {
  const auto hotKey = hotKeys_.extract(reference);
  if (!hotKey || !hotKey.mapped().chord || isTaken(*hotKey.mapped().chord)) return;
  ungrab(*hotKey.mapped().chord);
  xcb_flush(xcb());
}

// What was pressed with the key is told of by its release, as it goes to whoever has the focus
// then.
void X11HotKeys::holdTyping() {
  if (!hold_) return;
  setReleaseEvents(true);
  hold_->begin();
}

void X11HotKeys::releaseTyping() {
  if (hold_) hold_->end();
}

HotKeyCenter::Status X11HotKeys::take(HotKey& hotKey) {
  Chord chord;
  if (const Status status = resolve(hotKey.config, chord); status != noError) return status;
  if (!isTaken(chord)) {
    if (const Status status = grab(chord); status != noError) return status;
  }
  hotKey.chord = chord;
  return noError;
}

HotKeyCenter::Status X11HotKeys::resolve(const HotKeyConfig& config, Chord& chord) const {
  const auto key = xkbKeyCode(config.keyCode);
  if (!key) return noSuchKey;
  const auto modifiers = keyboard_.modifiersForMask(config.modifiers);
  if (!modifiers) return noSuchModifier;
  chord = {*key, *modifiers};
  return noError;
}

bool X11HotKeys::isTaken(const Chord& chord) const {
  return std::ranges::any_of(hotKeys_,
                             [&](const auto& each) { return each.second.chord == chord; });
}

// Answers all come with the first: one round trip.
HotKeyCenter::Status X11HotKeys::grab(const Chord& chord) {
  std::vector<xcb_void_cookie_t> asked;
  for (const auto locks : combinations(keyboard_.lockModifiers())) {
    asked.push_back(xcb_grab_key_checked(xcb(), 0, connection_->root(),
                                         static_cast<std::uint16_t>(chord.modifiers | locks),
                                         chord.key, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
  }
  Status status = noError;
  for (const auto& each : asked) {
    const XcbPointer<xcb_generic_error_t> error(xcb_request_check(xcb(), each));
    if (error) status = error->error_code;
  }
  if (connection_->isBroken()) return notConnected;
  if (status != noError) ungrab(chord);
  xcb_flush(xcb());
  return status;
}

void X11HotKeys::ungrab(const Chord& chord) {
  for (const auto locks : combinations(keyboard_.lockModifiers())) {
    xcb_ungrab_key(xcb(), chord.key, connection_->root(),
                   static_cast<std::uint16_t>(chord.modifiers | locks));
  }
}

void X11HotKeys::ungrabAll() {
  for (auto& [reference, hotKey] : hotKeys_) {
    if (const auto chord = std::exchange(hotKey.chord, std::nullopt)) ungrab(*chord);
  }
}

// Whether the keyboard changed.
bool X11HotKeys::handle(const xcb_generic_event_t& event) {
  if (const auto* press = eventAs<xcb_key_press_event_t>(event, XCB_KEY_PRESS)) {
    handlePress(*press);
  } else if (const auto* release = eventAs<xcb_key_release_event_t>(event, XCB_KEY_RELEASE)) {
    handleRelease(*release);
  } else if (const auto* focus = eventAs<xcb_focus_out_event_t>(event, XCB_FOCUS_OUT)) {
    if (focus->event == connection_->root() && focus->mode == XCB_NOTIFY_MODE_UNGRAB) {
      forgetReleasedKeys();
    }
  } else if (const auto* other = eventAs<xcb_ge_generic_event_t>(event, XCB_GE_GENERIC)) {
    handleLateRelease(*other);
  }
  // All XKB events have one number; others than those of the map are not asked for.
  const int type = event.response_type & 0x7f;
  return type == XCB_MAPPING_NOTIFY || type == firstXkbEvent_;
}

// While one hot key has the keyboard, others pressed with it come here too.
void X11HotKeys::handlePress(const xcb_key_press_event_t& press) {
  if (pressed_.test(press.detail)) return;
  if (pressed_.none()) grabbingKey_ = press.detail;
  pressed_.set(press.detail);
  const auto modifiers =
      static_cast<std::uint8_t>(press.state & 0xffU & ~unsigned{keyboard_.lockModifiers()});
  const auto found = std::ranges::find_if(hotKeys_, [&](const auto& each) {
    return each.second.chord == Chord{press.detail, modifiers};
  });
  if (found != hotKeys_.end()) deliver(found->second.identity);
}

void X11HotKeys::deliver(const HotKeyIdentity& identity) const {
  // Copies, because the handler may end the registration.
  const HotKeyIdentity ofPress = identity;
  if (const auto handler = handler_) handler(ofPress);
}

// The grab begins with the first repeat, when the menu is gone.
bool X11HotKeys::pressInWindow(std::uint32_t xkbKey, std::uint32_t modifiers) {
  const auto found = std::ranges::find_if(hotKeys_, [&](const auto& each) {
    const HotKey& hotKey = each.second;
    return hotKey.chord && hotKey.chord->key == xkbKey && hotKey.config.modifiers == modifiers;
  });
  if (found == hotKeys_.end()) return false;
  const HotKey& hotKey = found->second;
  if (pressed_.test(hotKey.chord->key)) return true;
  pressed_.set(hotKey.chord->key);
  forgetReleasedKeys();
  deliver(hotKey.identity);
  return true;
}

void X11HotKeys::handleRelease(const xcb_key_release_event_t& release) {
  pressed_.reset(release.detail);
  // The releases of the others go elsewhere from now on.
  if (release.detail == grabbingKey_) pressed_.reset();
}

// An XWayland server ends the grab without a release when the focus moves while the key is down. A
// held key then repeats, which begins the grab anew: that is told from a press by the release,
// which the raw events tell of whoever it goes to.
void X11HotKeys::forgetReleasedKeys() {
  if (pressed_.none()) return setReleaseEvents(false);
  // Asked for first, so that a release is in the answer or comes after it.
  setReleaseEvents(true);
  const auto down = awaitReply(xcb_query_keymap_reply, xcb(), xcb_query_keymap(xcb()));
  for (std::size_t key = 0; key < pressed_.size(); ++key) {
    const bool isDown = inputExtension_ != 0 && down && (down->keys[key / 8] >> (key % 8) & 1) != 0;
    if (!isDown) pressed_.reset(key);
  }
  if (pressed_.none()) setReleaseEvents(false);
}

void X11HotKeys::handleLateRelease(const xcb_ge_generic_event_t& event) {
  if (event.extension != inputExtension_ || event.event_type != XCB_INPUT_RAW_KEY_RELEASE) return;
  const auto key = reinterpret_cast<const xcb_input_raw_key_release_event_t&>(event).detail;
  if (key < pressed_.size()) pressed_.reset(key);
  if (pressed_.none()) setReleaseEvents(false);
}

void X11HotKeys::setReleaseEvents(bool areWanted) {
  if (inputExtension_ == 0) return;
  struct {
    xcb_input_event_mask_t head;
    std::uint32_t mask;
  } const masks{{XCB_INPUT_DEVICE_ALL_MASTER, 1},
                areWanted ? std::uint32_t{XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE} : 0};
  xcb_input_xi_select_events(xcb(), connection_->root(), 1, &masks.head);
  xcb_flush(xcb());
}

// The server announces a changed mapping also when only the device changed that was typed on last:
// taking the keys anew each time would lose presses.
void X11HotKeys::followKeyboard() {
  auto keyboard = X11KeyboardMap::read(asking_->xcb());
  if (asking_->isBroken()) return;
  const auto carriesTheSame = [&](std::uint32_t mask) {
    return keyboard.modifiersForMask(mask) == keyboard_.modifiersForMask(mask);
  };
  const bool isSame = keyboard.lockModifiers() == keyboard_.lockModifiers() &&
                      carriesTheSame(ModifierMask::command) && carriesTheSame(ModifierMask::option);
  if (!isSame) ungrabAll();
  keyboard_ = std::move(keyboard);
  if (!isSame) takeAllAnew();
}

void X11HotKeys::takeAllAnew() {
  for (auto& [reference, hotKey] : hotKeys_) {
    if (const Status status = take(hotKey); status != noError) {
      Log::hotKey.error("The keyboard changed and {} is not to be had any more ({})",
                        hotKey.config.displayString(), status);
    }
  }
}

}  // namespace stowboard
