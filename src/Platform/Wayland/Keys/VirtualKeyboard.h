#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "Platform/Compositor/TypingDevice.h"
#include "Platform/Wayland/Protocols/virtual-keyboard-client.h"
#include "Platform/Wayland/WaylandMainConnection.h"

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
/// it. It is made for the first stroke and then stays: the compositor would leave its windows
/// without a keyboard until the user's next key.
class VirtualKeyboard final : public TypingDevice {
 public:
  /// Null when the compositor lets no program have one.
  static std::unique_ptr<VirtualKeyboard> create(std::shared_ptr<WaylandMainConnection> connection);

  static bool isAllowed(const WaylandConnection& connection);

  bool type(std::uint8_t key, std::uint32_t modifiers, std::function<void()> done) override;
  std::optional<std::uint8_t> keyOfV() const override;

 private:
  explicit VirtualKeyboard(std::shared_ptr<WaylandMainConnection> connection)
      : connection_(std::move(connection)) {}

  void plugIn();

  const std::shared_ptr<WaylandMainConnection> connection_;
  WaylandObject<zwp_virtual_keyboard_manager_v1> manager_;
  WaylandObject<zwp_virtual_keyboard_v1> keyboard_;
};

}  // namespace stowboard
