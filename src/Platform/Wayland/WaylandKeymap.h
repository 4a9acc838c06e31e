#pragma once

#include <xkbcommon/xkbcommon.h>

#include <cstdint>
#include <memory>
#include <optional>

#include "Platform/Wayland/WaylandConnection.h"

namespace stowboard {

template <>
struct WaylandDestroy<wl_keyboard> {
  void operator()(wl_keyboard* keyboard) const { wl_keyboard_destroy(keyboard); }
};

/// What the keys of the user's keyboard give, as the compositor tells every program. Belongs to the
/// thread of its connection, which must outlive it.
class WaylandKeymap {
 public:
  explicit WaylandKeymap(const WaylandConnection& connection);
  WaylandKeymap(const WaylandKeymap&) = delete;
  WaylandKeymap& operator=(const WaylandKeymap&) = delete;

  /// A key, by XKB's number, that gives the symbol without any modifier: in the first of the user's
  /// layouts in which one does. Absent when none does, or while the keyboard is not known.
  std::optional<std::uint8_t> keyOf(xkb_keysym_t symbol) const;

 private:
  struct Free {
    void operator()(xkb_context* context) const { xkb_context_unref(context); }
    void operator()(xkb_keymap* keymap) const { xkb_keymap_unref(keymap); }
  };

  void listenToKeyboard();
  void read(int file, std::uint32_t size);
  bool gives(xkb_keycode_t key, xkb_layout_index_t layout, xkb_keysym_t symbol) const;

  const std::unique_ptr<xkb_context, Free> context_;
  std::unique_ptr<xkb_keymap, Free> keymap_;
  WaylandObject<wl_seat> seat_;
  WaylandObject<wl_keyboard> keyboard_;
};

}  // namespace stowboard
