#pragma once

#include <memory>
#include <string>

#include "Platform/Compositing.h"
#include "Platform/X11/X11Connection.h"

namespace stowboard {

/// Compositing managers announce themselves as owners of a selection, _NET_WM_CM_Sn for screen n
/// (EWMH). Has an X connection of its own, read on Qt's event loop; asking costs a round trip to
/// the server.
class X11Compositing final : public Compositing {
 public:
  /// `display` empty: $DISPLAY. Null when no X server can be reached.
  static std::unique_ptr<X11Compositing> create(const std::string& display = "");

  ~X11Compositing() override;

  bool isRunning() const override;

 private:
  class Events;

  explicit X11Compositing(std::unique_ptr<X11Connection> connection);

  const std::unique_ptr<X11Connection> connection_;
  const xcb_atom_t selection_;
  const std::unique_ptr<Events> events_;
};

}  // namespace stowboard
