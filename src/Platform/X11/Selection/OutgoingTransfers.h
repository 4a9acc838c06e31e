#pragma once

#include <xcb/xcb.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <utility>

#include "Base/Bytes.h"
#include "Platform/Clipboard/TransferBuffer.h"
#include "Platform/X11/X11Connection.h"

namespace stowboard {

/// Hands content over to those who asked for it: small content at once, larger content in chunks,
/// the next one whenever the requester has deleted the one before (ICCCM 2.7.2). Any number at
/// once, each at its requester's own pace; all read from the one content. Belongs to the selection
/// thread.
class OutgoingTransfers {
 public:
  /// `patience`: how long a requester may take from one chunk to the next.
  OutgoingTransfers(X11Connection& connection, std::chrono::milliseconds patience);

  /// Writes the content into the property, or begins to. A transfer into the same property that is
  /// still under way gives way. `kind` says how it is to be understood.
  void send(xcb_window_t requester, xcb_atom_t property, PropertyKind kind, const Bytes& content);

  /// A requester's property was deleted.
  void handleDeletion(const xcb_property_notify_event_t& event, std::uint32_t sequence);
  /// The window is gone.
  void drop(xcb_window_t requester);

  /// Absent when nothing is under way.
  std::optional<SteadyTime> deadline() const;
  void expire();

 private:
  using Key = std::pair<xcb_window_t, xcb_atom_t>;
  struct Transfer {
    Bytes content;
    PropertyKind kind;
    SteadyTime deadline;
    std::size_t sent = 0;
    // The number of the request that wrote last.
    std::uint32_t sequence = 0;
  };

  void begin(const Key& key, PropertyKind kind, const Bytes& content);
  std::uint32_t put(const Key& key, PropertyKind kind, std::string_view content);
  void listen(xcb_window_t requester, std::uint32_t events);
  void end(std::map<Key, Transfer>::iterator transfer);

  X11Connection& connection_;
  const std::chrono::milliseconds patience_;
  const xcb_atom_t incr_;
  const std::size_t chunkSize_;
  std::map<Key, Transfer> transfers_;
};

}  // namespace stowboard
