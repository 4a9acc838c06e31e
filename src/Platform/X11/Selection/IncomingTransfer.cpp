#include "Platform/X11/Selection/IncomingTransfer.h"

#include <cstring>
#include <utility>

namespace stowboard {

IncomingTransfer::IncomingTransfer(X11Connection& connection, xcb_window_t window,
                                   xcb_atom_t target, xcb_timestamp_t time, TransferBuffer buffer,
                                   const TransferLimits& limits, SteadyTime now)
    : connection_(connection),
      window_(window),
      target_(target),
      incr_(connection.atom("INCR")),
      chunkTimeout_(limits.chunkTimeout),
      deadline_(now + limits.replyTimeout),
      buffer_(std::move(buffer)) {
  const auto clipboard = connection.atom("CLIPBOARD");
  sequence_ =
      xcb_convert_selection(connection.xcb(), window, clipboard, target, target, time).sequence;
}

void IncomingTransfer::handle(const xcb_selection_notify_event_t& event, SteadyTime now) {
  if (state_ != State::requested || event.target != target_) return;
  if (event.property == target_) {
    receiveAnswer(now);
  } else if (event.property == XCB_ATOM_NONE) {
    state_ = State::refused;
  }
}

void IncomingTransfer::handle(const xcb_property_notify_event_t& event, SteadyTime now) {
  if (state_ == State::incremental && event.atom == target_) receiveChunk(now);
}

void IncomingTransfer::expire(SteadyTime now) {
  if (isPending() && now >= deadline_) state_ = State::timedOut;
}

bool IncomingTransfer::append(std::string_view bytes) {
  const bool fits = buffer_.append(bytes);
  // They are the connection's copy, which nobody else looks at before it is freed.
  if (buffer_.isSecret()) explicit_bzero(const_cast<char*>(bytes.data()), bytes.size());
  return fits;
}

void IncomingTransfer::receiveAnswer(SteadyTime now) {
  bool fits = true;
  // Deleting the property is also what starts an incremental transfer.
  const auto kind =
      connection_.takeProperty(window_, target_, [&](PropertyKind piece, std::string_view bytes) {
        if (piece.type != incr_) fits = append(bytes);
        return fits;
      });
  if (kind && kind->type == incr_) {
    state_ = State::incremental;
    deadline_ = now + chunkTimeout_;
    return;
  }
  kind_ = kind.value_or(PropertyKind{});
  state_ = !kind ? State::refused : fits ? State::done : State::tooLarge;
}

void IncomingTransfer::receiveChunk(SteadyTime now) {
  const auto sizeBefore = buffer_.size();
  bool fits = true;
  const auto kind =
      connection_.takeProperty(window_, target_, [&](PropertyKind, std::string_view bytes) {
        fits = append(bytes);
        return fits;
      });
  // The announcement of a value that an earlier call has already read.
  if (!kind) return;
  const bool isEmpty = buffer_.size() == sizeBefore;
  // That of the content: some owners end with an empty chunk of any kind.
  if (!isEmpty || kind_.type == XCB_ATOM_NONE) kind_ = *kind;
  deadline_ = now + chunkTimeout_;
  // A chunk of no length ends the transfer.
  if (isEmpty) state_ = State::done;
  if (!fits) state_ = State::tooLarge;
}

}  // namespace stowboard
