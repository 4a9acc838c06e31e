#pragma once

#include <xcb/xfixes.h>

#include <cstdint>
#include <memory>
#include <optional>

#include "Platform/Clipboard/ClipboardOffer.h"
#include "Platform/X11/X11Connection.h"

namespace stowboard {

/// Asks the server, and waits for its answer.
bool hasOwner(X11Connection& connection, xcb_atom_t selection);

/// Our ownership of one selection, from the wish for it to its end. It counts from the moment that
/// the server names when it is wished for (ICCCM 2.1), whenever the content follows: a program that
/// takes the selection in between is the later one. Belongs to the selection thread.
class SelectionClaim {
 public:
  enum class Manner {
    always,
    /// Gives way to any owner there is.
    whileUnowned,
  };

  /// `window` has to listen to the changes of its properties.
  SelectionClaim(X11Connection& connection, xcb_window_t window, xcb_atom_t selection)
      : connection_(connection), window_(window), selection_(selection) {}

  xcb_atom_t selection() const { return selection_; }

  /// Wishes for the selection as of the time that the server gives, for which this asks. What was
  /// owned before stays owned until the new content comes.
  void begin(Manner manner);
  /// The same as of a time that the server has just given.
  void beginAt(xcb_timestamp_t time);
  /// Supplies the content, or replaces it. Without effect after the claim was released.
  void provide(std::shared_ptr<ClipboardOffer> offer);
  void handle(const xcb_property_notify_event_t& event, std::uint32_t sequence);

  /// Whether a change of owner that the server reports now came after our claim.
  ///
  /// A wish is not ended by the loss of what was there before it, be it that its owner has ended or
  /// that it clears up behind itself: it then counts from that moment.
  bool isOvertakenBy(const xcb_xfixes_selection_notify_event_t& event, std::uint32_t sequence);
  /// The server's word that somebody else has taken the selection from us.
  void handle(const xcb_selection_clear_event_t& event, std::uint32_t sequence);
  void release();

  /// Begun, but the selection has not been taken yet.
  bool isPending() const { return wish_.has_value(); }
  /// What the selection's requesters are given; null when it is not ours.
  const std::shared_ptr<ClipboardOffer>& offer() const { return offer_; }
  /// Since when it is ours.
  xcb_timestamp_t time() const { return time_; }

 private:
  struct Wish {
    Manner manner;
    std::uint32_t sequence;
    std::optional<xcb_timestamp_t> time;
    std::shared_ptr<ClipboardOffer> offer;
  };

  void takeWhenReady();
  bool take();

  X11Connection& connection_;
  const xcb_window_t window_;
  const xcb_atom_t selection_;
  std::optional<Wish> wish_;
  std::shared_ptr<ClipboardOffer> offer_;
  xcb_timestamp_t time_ = XCB_CURRENT_TIME;
  // The number of the request that took the selection.
  std::uint32_t sequence_ = 0;
};

}  // namespace stowboard
