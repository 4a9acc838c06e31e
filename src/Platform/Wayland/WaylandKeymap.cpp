#include "Platform/Wayland/WaylandKeymap.h"

#include <sys/mman.h>

#include "Base/FileDescriptor.h"

namespace stowboard {

WaylandKeymap::WaylandKeymap(const WaylandConnection& connection)
    : context_(xkb_context_new(XKB_CONTEXT_NO_FLAGS)),
      seat_(connection.bind<wl_seat>(wl_seat_interface, 1)) {
  static constexpr wl_seat_listener listener = {
      .capabilities =
          [](void* self, wl_seat*, std::uint32_t capabilities) {
            auto* const keymap = static_cast<WaylandKeymap*>(self);
            const bool hasKeyboard = (capabilities & WL_SEAT_CAPABILITY_KEYBOARD) != 0;
            if (hasKeyboard && !keymap->keyboard_) keymap->listenToKeyboard();
          },
      .name = nullptr};
  if (seat_) wl_seat_add_listener(seat_.get(), &listener, this);
}

void WaylandKeymap::listenToKeyboard() {
  static constexpr wl_keyboard_listener listener = {
      .keymap = [](void* self, wl_keyboard*, std::uint32_t, std::int32_t file,
                   std::uint32_t size) { static_cast<WaylandKeymap*>(self)->read(file, size); },
      // For windows only.
      .enter = [](auto...) {},
      .leave = [](auto...) {},
      .key = [](auto...) {},
      .modifiers = [](auto...) {},
      .repeat_info = [](auto...) {}};
  keyboard_.reset(wl_seat_get_keyboard(seat_.get()));
  wl_keyboard_add_listener(keyboard_.get(), &listener, this);
}

void WaylandKeymap::read(int file, std::uint32_t size) {
  const FileDescriptor owned(file);
  void* const text = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file, 0);
  if (text == MAP_FAILED) return;
  keymap_.reset(xkb_keymap_new_from_buffer(context_.get(), static_cast<const char*>(text),
                                           size > 0 ? size - 1 : 0, XKB_KEYMAP_FORMAT_TEXT_V1,
                                           XKB_KEYMAP_COMPILE_NO_FLAGS));
  ::munmap(text, size);
}

std::optional<std::uint8_t> WaylandKeymap::keyOf(xkb_keysym_t symbol) const {
  if (!keymap_) return std::nullopt;
  const auto layouts = xkb_keymap_num_layouts(keymap_.get());
  for (xkb_layout_index_t layout = 0; layout < layouts; ++layout) {
    // Keys with higher numbers are none that X11 programs know.
    for (xkb_keycode_t key = 9; key <= 255; ++key) {
      if (gives(key, layout, symbol)) return static_cast<std::uint8_t>(key);
    }
  }
  return std::nullopt;
}

bool WaylandKeymap::gives(xkb_keycode_t key, xkb_layout_index_t layout, xkb_keysym_t symbol) const {
  const xkb_keysym_t* symbols = nullptr;
  const int count = xkb_keymap_key_get_syms_by_level(keymap_.get(), key, layout, 0, &symbols);
  return count == 1 && symbols[0] == symbol;
}

}  // namespace stowboard
