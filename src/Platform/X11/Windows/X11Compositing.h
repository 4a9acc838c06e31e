#pragma once

#include "Platform/Compositing.h"
#include "Platform/X11/X11MainConnection.h"

namespace stowboard {

/// Compositing managers announce themselves as owners of a selection, _NET_WM_CM_Sn for screen n
/// (EWMH). Asking costs a round trip to the server.
class X11Compositing final : public Compositing {
 public:
  explicit X11Compositing(std::shared_ptr<X11MainConnection> connection);

  bool isRunning() const override;

 private:
  bool isOwnerChange(const xcb_generic_event_t& event) const;

  const std::shared_ptr<X11MainConnection> connection_;
  const xcb_atom_t selection_;
  const X11MainConnection::Subscription subscription_;
};

}  // namespace stowboard
