#pragma once

#include <cstdint>
#include <functional>

#include "Models/HotKeyConfig.h"

namespace stowboard {

/// Global keyboard shortcuts under ids of the caller's choosing. Main thread.
class HotKeyManaging {
 public:
  using Handler = std::function<void()>;

  virtual ~HotKeyManaging() = default;

  /// Registers the combination under id 1; see below. It opens a window: what is typed after the
  /// press waits for that.
  virtual bool registerHotKey(const HotKeyConfig& config, Handler handler) = 0;
  /// Replaces whatever the id stood for. True when the combination is now registered; when false,
  /// the id stands for nothing. The handler runs on a later turn of the main loop, once a press.
  virtual bool registerHotKey(std::uint32_t id, const HotKeyConfig& config, Handler handler) = 0;

  virtual void unregister(std::uint32_t id) = 0;
  virtual void unregisterAll() = 0;
  /// Ends the registration of id 1, the one that is made without naming an id.
  virtual void unregister() = 0;
};

}  // namespace stowboard
