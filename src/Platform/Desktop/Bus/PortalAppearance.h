#pragma once

#include <memory>

#include "Platform/DesktopAppearance.h"

namespace stowboard {

/// The user's preference as the desktop portal tells it: org.freedesktop.portal.Settings, namespace
/// org.freedesktop.appearance, keys color-scheme and contrast (XDG Desktop Portal documentation).
///
/// Asking starts the portal where the session bus knows how. A portal that is missing, refuses or
/// lacks a key is no preference; one that comes later is picked up, and one that goes leaves what
/// it told last. Has a connection of its own to the session bus, read on the main thread; nothing
/// waits for an answer.
class PortalAppearance final : public DesktopAppearance {
 public:
  /// Null without a session bus. Main thread, with Qt's event loop.
  static std::unique_ptr<PortalAppearance> create();
  ~PortalAppearance() override;

  Appearance appearance() const override;

 private:
  class Client;

  PortalAppearance();

  std::unique_ptr<Client> client_;
};

}  // namespace stowboard
