#pragma once

#include <cstdint>
#include <memory>

#include "Platform/Wayland/Protocols/virtual-keyboard-client.h"
#include "Platform/Wayland/WaylandConnection.h"

namespace stowboard {

template <>
struct WaylandDestroy<zwp_virtual_keyboard_manager_v1> {
  void operator()(zwp_virtual_keyboard_manager_v1* manager) const {
    zwp_virtual_keyboard_manager_v1_destroy(manager);
  }
};
template <>
struct WaylandDestroy<zwp_virtual_keyboard_v1> {
  void operator()(zwp_virtual_keyboard_v1* keyboard) const {
    zwp_virtual_keyboard_v1_destroy(keyboard);
  }
};

/// A keyboard of our own beside the user's (zwp_virtual_keyboard_v1), on which every key gives what
/// it gives on a plain US keyboard, whatever the user's layout. What the user holds is not held on
/// it. Belongs to the thread of its connection.
class VirtualKeyboard {
 public:
  /// Whether the compositor lets programs have one.
  static bool isOffered(const WaylandConnection& connection);
  /// Null when it does not.
  static std::unique_ptr<VirtualKeyboard> create(WaylandConnection& connection);

  /// Presses and releases a key of XKB's number with these modifiers (XKB's, as a mask) held.
  void type(std::uint8_t key, std::uint32_t modifiers);

 private:
  VirtualKeyboard(WaylandConnection& connection,
                  WaylandObject<zwp_virtual_keyboard_manager_v1> manager,
                  WaylandObject<zwp_virtual_keyboard_v1> keyboard)
      : connection_(connection), manager_(std::move(manager)), keyboard_(std::move(keyboard)) {}

  WaylandConnection& connection_;
  const WaylandObject<zwp_virtual_keyboard_manager_v1> manager_;
  const WaylandObject<zwp_virtual_keyboard_v1> keyboard_;
};

}  // namespace stowboard
