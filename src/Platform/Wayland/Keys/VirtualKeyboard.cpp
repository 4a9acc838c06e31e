#include "Platform/Wayland/Keys/VirtualKeyboard.h"

#include <sys/mman.h>
#include <unistd.h>

#include <chrono>
#include <string_view>
#include <utility>

#include "Base/FileDescriptor.h"
#include "Platform/KeyPositions.h"

namespace stowboard {

namespace {

// A whole one: programs look for keys by their symbols and by their places. The compositor puts it
// together from the system's own parts.
constexpr std::string_view keymap = R"xkb(xkb_keymap {
  xkb_keycodes { include "evdev+aliases(qwerty)" };
  xkb_types { include "complete" };
  xkb_compat { include "complete" };
  xkb_symbols { include "pc+us+inet(evdev)" };
};
)xkb";

FileDescriptor keymapFile() {
  FileDescriptor file(::memfd_create("stowboard-keymap", MFD_CLOEXEC));
  // With the 0 at its end, as compositors expect.
  const auto size = static_cast<ssize_t>(keymap.size() + 1);
  if (::write(file.number(), keymap.data(), keymap.size() + 1) != size) return FileDescriptor();
  return file;
}

// Of a clock without a meaning, in milliseconds.
std::uint32_t now() {
  const auto time = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<std::uint32_t>(
      std::chrono::duration_cast<std::chrono::milliseconds>(time).count());
}

}  // namespace

bool VirtualKeyboard::isAllowed(const WaylandConnection& connection) {
  return connection.seat() && connection.offers(zwp_virtual_keyboard_manager_v1_interface.name);
}

std::unique_ptr<VirtualKeyboard> VirtualKeyboard::create(
    std::shared_ptr<WaylandMainConnection> connection) {
  if (!isAllowed(connection->connection())) return nullptr;
  return std::unique_ptr<VirtualKeyboard>(new VirtualKeyboard(std::move(connection)));
}

void VirtualKeyboard::plugIn() {
  const auto file = keymapFile();
  if (!file.isOpen()) return;
  const auto& connection = connection_->connection();
  manager_.reset(connection.bind<zwp_virtual_keyboard_manager_v1>(
      zwp_virtual_keyboard_manager_v1_interface, 1));
  keyboard_.reset(
      zwp_virtual_keyboard_manager_v1_create_virtual_keyboard(manager_.get(), connection.seat()));
  zwp_virtual_keyboard_v1_keymap(keyboard_.get(), WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1, file.number(),
                                 static_cast<std::uint32_t>(keymap.size() + 1));
}

std::optional<std::uint8_t> VirtualKeyboard::keyOfV() const { return xkbKeyCode(virtualKeyOfV); }

bool VirtualKeyboard::type(std::uint8_t key, std::uint32_t modifiers, std::function<void()> done) {
  if (!keyboard_) plugIn();
  if (!keyboard_ || connection_->isBroken()) return false;
  const std::uint32_t kernelCode = key - 8U;
  zwp_virtual_keyboard_v1_modifiers(keyboard_.get(), modifiers, 0, 0, 0);
  zwp_virtual_keyboard_v1_key(keyboard_.get(), now(), kernelCode, WL_KEYBOARD_KEY_STATE_PRESSED);
  zwp_virtual_keyboard_v1_key(keyboard_.get(), now(), kernelCode, WL_KEYBOARD_KEY_STATE_RELEASED);
  zwp_virtual_keyboard_v1_modifiers(keyboard_.get(), 0, 0, 0, 0);
  connection_->connection().flush();
  done();
  return true;
}

}  // namespace stowboard
