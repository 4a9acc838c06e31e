#include "Platform/X11/Keys/X11Keys.h"

#include <xkbcommon/xkbcommon-keysyms.h>

#include <algorithm>
#include <utility>

#include "Models/HotKeyConfig.h"
#include "Platform/X11/X11Connection.h"

namespace stowboard {

namespace {

constexpr std::array lockSymbols = std::to_array<xcb_keysym_t>(
    {XKB_KEY_Caps_Lock, XKB_KEY_Shift_Lock, XKB_KEY_Num_Lock, XKB_KEY_Scroll_Lock, XKB_KEY_ISO_Lock,
     XKB_KEY_ISO_Level3_Lock, XKB_KEY_ISO_Level5_Lock, XKB_KEY_ISO_Next_Group,
     XKB_KEY_ISO_Prev_Group, XKB_KEY_ISO_First_Group, XKB_KEY_ISO_Last_Group});

std::uint8_t lowestBit(std::uint8_t bits) { return bits & static_cast<std::uint8_t>(-bits); }

bool startXkb(xcb_connection_t* connection) {
  if (findExtension(connection, xcb_xkb_id) == nullptr) return false;
  const auto use =
      awaitReply(xcb_xkb_use_extension_reply, connection, xcb_xkb_use_extension(connection, 1, 0));
  return use != nullptr && use->supported != 0;
}

xcb_xkb_get_map_cookie_t askSymbols(xcb_connection_t* connection) {
  return xcb_xkb_get_map(connection, XCB_XKB_ID_USE_CORE_KBD, XCB_XKB_MAP_PART_KEY_SYMS, 0, 0, 0, 0,
                         0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0);
}

// Each key has its groups one after the other, all `width` symbols wide.
std::vector<xcb_keysym_t> firstLevel(const xcb_xkb_key_sym_map_t& key) {
  const auto* symbols = xcb_xkb_key_sym_map_syms(&key);
  const auto count = static_cast<std::size_t>(xcb_xkb_key_sym_map_syms_length(&key));
  std::vector<xcb_keysym_t> first;
  for (std::size_t group = 0; group < (key.groupInfo & 0x0fU); ++group) {
    if (group * key.width < count) first.push_back(symbols[group * key.width]);
  }
  return first;
}

X11KeyboardMap::Symbols readSymbols(xcb_connection_t* connection) {
  X11KeyboardMap::Symbols symbols;
  const auto reply = awaitReply(xcb_xkb_get_map_reply, connection, askSymbols(connection));
  if (!reply || (reply->present & XCB_XKB_MAP_PART_KEY_SYMS) == 0) return symbols;
  xcb_xkb_get_map_map_t map;
  xcb_xkb_get_map_map_unpack(xcb_xkb_get_map_map(reply.get()), reply->nTypes, reply->nKeySyms,
                             reply->nKeyActions, reply->totalActions, reply->totalKeyBehaviors,
                             reply->virtualMods, reply->totalKeyExplicit, reply->totalModMapKeys,
                             reply->totalVModMapKeys, reply->present, &map);
  auto key = xcb_xkb_get_map_map_syms_rtrn_iterator(reply.get(), &map);
  for (std::size_t code = reply->firstKeySym; key.rem > 0 && code < symbols.size(); ++code) {
    symbols[code] = firstLevel(*key.data);
    xcb_xkb_key_sym_map_next(&key);
  }
  return symbols;
}

X11KeyboardMap::Modifiers readModifiers(xcb_connection_t* connection,
                                        xcb_get_modifier_mapping_cookie_t asked) {
  X11KeyboardMap::Modifiers modifiers{};
  const auto reply = awaitReply(xcb_get_modifier_mapping_reply, connection, asked);
  if (!reply) return modifiers;
  const auto* keys = xcb_get_modifier_mapping_keycodes(reply.get());
  const auto count = static_cast<unsigned>(xcb_get_modifier_mapping_keycodes_length(reply.get()));
  for (unsigned each = 0; each < count; ++each) {
    const auto bit = static_cast<std::uint8_t>(1U << (each / reply->keycodes_per_modifier));
    if (keys[each] != 0) modifiers[keys[each]] |= bit;
  }
  return modifiers;
}

}  // namespace

X11KeySet x11KeySet(const std::uint8_t* bits) {
  X11KeySet keys;
  for (std::size_t key = 0; key < keys.size(); ++key) {
    keys[key] = (bits[key / 8] >> (key % 8) & 1) != 0;
  }
  return keys;
}

std::vector<xcb_keycode_t> keysOf(const X11KeySet& set) {
  std::vector<xcb_keycode_t> keys;
  for (std::size_t key = 0; key < set.size(); ++key) {
    if (set.test(key)) keys.push_back(static_cast<xcb_keycode_t>(key));
  }
  return keys;
}

X11KeyboardMap X11KeyboardMap::read(xcb_connection_t* connection) {
  const auto asked = xcb_get_modifier_mapping(connection);
  auto symbols = startXkb(connection) ? readSymbols(connection) : Symbols();
  return {std::move(symbols), readModifiers(connection, asked)};
}

bool X11KeyboardMap::hasSymbol(xcb_keycode_t key, xcb_keysym_t symbol) const {
  return std::ranges::find(symbols_[key], symbol) != symbols_[key].end();
}

bool X11KeyboardMap::isHoldModifier(xcb_keycode_t key) const {
  if ((modifiers_[key] & ~XCB_MOD_MASK_LOCK) == 0) return false;
  return std::ranges::none_of(lockSymbols,
                              [&](xcb_keysym_t symbol) { return hasSymbol(key, symbol); });
}

std::vector<xcb_keycode_t> X11KeyboardMap::keysHolding(std::uint8_t modifier) const {
  std::vector<xcb_keycode_t> keys;
  for (std::size_t key = 0; key < modifiers_.size(); ++key) {
    const auto code = static_cast<xcb_keycode_t>(key);
    if (modifiers_[key] == modifier && isHoldModifier(code)) keys.push_back(code);
  }
  return keys;
}

std::uint8_t X11KeyboardMap::modifierOf(std::initializer_list<xcb_keysym_t> symbols) const {
  constexpr int taken = XCB_MOD_MASK_SHIFT | XCB_MOD_MASK_LOCK | XCB_MOD_MASK_CONTROL;
  for (const auto symbol : symbols) {
    for (std::size_t key = 0; key < modifiers_.size(); ++key) {
      const auto bits = static_cast<std::uint8_t>(modifiers_[key] & ~taken);
      if (bits != 0 && hasSymbol(static_cast<xcb_keycode_t>(key), symbol)) return lowestBit(bits);
    }
  }
  return 0;
}

std::optional<std::uint8_t> X11KeyboardMap::modifiersForMask(std::uint32_t mask) const {
  const auto super = modifierOf({XKB_KEY_Super_L, XKB_KEY_Super_R});
  const auto alt = modifierOf({XKB_KEY_Alt_L, XKB_KEY_Alt_R});
  const auto meta = modifierOf({XKB_KEY_Meta_L, XKB_KEY_Meta_R});
  const auto wanted = std::to_array<std::pair<std::uint32_t, std::uint8_t>>(
      {{ModifierMask::command, super != 0 ? super : meta},
       {ModifierMask::option, alt != 0 ? alt : meta},
       {ModifierMask::shift, std::uint8_t{XCB_MOD_MASK_SHIFT}},
       {ModifierMask::control, std::uint8_t{XCB_MOD_MASK_CONTROL}}});
  std::uint8_t modifiers = 0;
  for (const auto& [bit, modifier] : wanted) {
    if ((mask & bit) == 0) continue;
    if (modifier == 0) return std::nullopt;
    modifiers |= modifier;
  }
  return modifiers;
}

std::uint8_t X11KeyboardMap::lockModifiers() const {
  return XCB_MOD_MASK_LOCK | modifierOf({XKB_KEY_Num_Lock}) | modifierOf({XKB_KEY_Scroll_Lock});
}

std::optional<xcb_keycode_t> X11KeyboardMap::keyFor(xcb_keysym_t symbol, std::size_t group) const {
  std::optional<std::pair<std::size_t, xcb_keycode_t>> best;
  for (std::size_t key = 0; key < symbols_.size(); ++key) {
    for (std::size_t each = 0; each < symbols_[key].size(); ++each) {
      if (symbols_[key][each] != symbol) continue;
      // The current group counts as the one before the first.
      const std::size_t rank = each == group ? 0 : each + 1;
      if (!best || rank < best->first) best = {rank, static_cast<xcb_keycode_t>(key)};
    }
  }
  return best ? std::optional(best->second) : std::nullopt;
}

}  // namespace stowboard
