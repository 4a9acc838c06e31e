#pragma once

#include <xcb/xcb.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

#include "Platform/Clipboard/TransferBuffer.h"
#include "Platform/X11/X11Connection.h"

namespace stowboard {

/// One conversion of the CLIPBOARD into one target (ICCCM 2.4), incremental if the owner wants
/// (2.7.2). Driven by the events of its window; never waits for the owner. Belongs to the selection
/// thread.
class IncomingTransfer {
 public:
  enum class State {
    /// No answer yet.
    requested,
    /// The owner sends in chunks.
    incremental,
    done,
    /// The owner cannot convert into this target, or its answer held nothing.
    refused,
    tooLarge,
    timedOut,
  };

  /// Sends the request. `time` is the server time of the event that it goes back to.
  IncomingTransfer(X11Connection& connection, xcb_window_t window, xcb_atom_t target,
                   xcb_timestamp_t time, TransferBuffer buffer, const TransferLimits& limits,
                   SteadyTime now);

  State state() const { return state_; }
  bool isPending() const { return state_ == State::requested || state_ == State::incremental; }
  /// The request's number in the order in which the server handles this connection's requests.
  std::uint32_t sequence() const { return sequence_; }
  /// When expire() will give the transfer up unless something arrives before. Only while pending.
  SteadyTime deadline() const { return deadline_; }

  void handle(const xcb_selection_notify_event_t& event, SteadyTime now);
  /// A new value of a property of the window.
  void handle(const xcb_property_notify_event_t& event, SteadyTime now);
  void expire(SteadyTime now);

  /// What came, once done.
  PropertyKind kind() const { return kind_; }
  bool isUtf8() const { return buffer_.isUtf8(); }
  std::string takeContent() { return buffer_.take(); }
  TransferBuffer& buffer() { return buffer_; }

 private:
  bool append(std::string_view bytes);
  void receiveAnswer(SteadyTime now);
  void receiveChunk(SteadyTime now);

  X11Connection& connection_;
  const xcb_window_t window_;
  // The property has the target's name, so that a late answer cannot be taken for another one.
  const xcb_atom_t target_;
  const xcb_atom_t incr_;
  const std::chrono::milliseconds chunkTimeout_;
  std::uint32_t sequence_ = 0;
  SteadyTime deadline_;
  State state_ = State::requested;
  PropertyKind kind_;
  TransferBuffer buffer_;
};

}  // namespace stowboard
