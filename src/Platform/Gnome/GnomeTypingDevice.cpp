#include "Platform/Gnome/GnomeTypingDevice.h"

#include <xkbcommon/xkbcommon-keysyms.h>

#include <utility>
#include <vector>

#include "Base/Log.h"

namespace stowboard {

namespace {

// XKB's masks and the kernel's codes of the left keys.
constexpr std::pair<std::uint32_t, std::uint32_t> modifierKeys[] = {
    {4, 29}, {1, 42}, {8, 56}, {64, 125}};

}  // namespace

GnomeTypingDevice::GnomeTypingDevice(std::shared_ptr<GnomeShell> shell,
                                     std::shared_ptr<WaylandMainConnection> connection)
    : shell_(std::move(shell)),
      connection_(std::move(connection)),
      keymap_(connection_->connection()) {}

std::optional<std::uint8_t> GnomeTypingDevice::keyOfV() const { return keymap_.keyOf(XKB_KEY_v); }

bool GnomeTypingDevice::type(std::uint8_t key, std::uint32_t modifiers,
                             std::function<void()> done) {
  if (!shell_->isServing()) return false;
  std::vector<std::uint32_t> keys;
  for (const auto& [mask, code] : modifierKeys) {
    if ((modifiers & mask) != 0) keys.push_back(code);
  }
  *done_ = std::move(done);
  shell_->type(keys, key - 8U, [weak = std::weak_ptr(done_)](bool isTyped) {
    if (!isTyped) {
      Log::paste.error("The keystroke was not sent: modifier keys were held too long");
    }
    const auto then = weak.lock();
    if (!then || !*then) return;
    std::exchange(*then, nullptr)();
  });
  return true;
}

}  // namespace stowboard
