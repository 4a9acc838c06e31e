#pragma once

#include <memory>

#include "Platform/Compositor/TypingDevice.h"
#include "Platform/Gnome/GnomeShell.h"
#include "Platform/Wayland/WaylandKeymap.h"
#include "Platform/Wayland/WaylandMainConnection.h"

namespace stowboard {

/// Types by our extension of GNOME Shell, which waits until the user has let go of the modifiers:
/// nobody can lift them there.
class GnomeTypingDevice final : public TypingDevice {
 public:
  GnomeTypingDevice(std::shared_ptr<GnomeShell> shell,
                    std::shared_ptr<WaylandMainConnection> connection);

  bool type(std::uint8_t key, std::uint32_t modifiers, std::function<void()> done) override;
  std::optional<std::uint8_t> keyOfV() const override;

 private:
  const std::shared_ptr<GnomeShell> shell_;
  const std::shared_ptr<WaylandMainConnection> connection_;
  const WaylandKeymap keymap_;
  // The stroke under way, unless this is gone.
  std::shared_ptr<std::function<void()>> done_ = std::make_shared<std::function<void()>>();
};

}  // namespace stowboard
