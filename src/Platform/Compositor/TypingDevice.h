#pragma once

#include <cstdint>
#include <functional>
#include <optional>

namespace stowboard {

/// What a compositor lets this program type on. Main thread.
class TypingDevice {
 public:
  virtual ~TypingDevice() = default;

  /// Presses and releases a key of XKB's number for the window in front, with these modifiers
  /// (XKB's real ones, as a mask) and no others, whatever the user holds. Calls `done` once that is
  /// sent, perhaps within this call; one stroke at a time. False when the compositor takes none any
  /// more, and then `done` is not called.
  virtual bool type(std::uint8_t key, std::uint32_t modifiers, std::function<void()> done) = 0;

  /// The key that gives the letter V; absent when none does.
  virtual std::optional<std::uint8_t> keyOfV() const = 0;
};

}  // namespace stowboard
