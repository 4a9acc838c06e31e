#pragma once

#include <xcb/xcb.h>

#include <list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Platform/X11/Selection/OutgoingTransfers.h"
#include "Platform/X11/Selection/SelectionClaim.h"
#include "Platform/X11/X11Connection.h"

namespace stowboard {

/// Answers the requests for the selections that are ours (ICCCM 2.2 and 2.6): TARGETS, TIMESTAMP,
/// MULTIPLE, SAVE_TARGETS and the targets of the content. A request is answered from the content
/// that was there when it came, however long that takes. Never waits for a requester. Belongs to
/// the selection thread.
class SelectionServer {
 public:
  /// The claims outlive the server. Images are encoded in the background.
  SelectionServer(X11Connection& connection, std::vector<const SelectionClaim*> claims,
                  std::chrono::milliseconds patience, Background background);

  void handle(xcb_selection_request_event_t event);
  /// A requester's property was deleted.
  void handleDeletion(const xcb_property_notify_event_t& event, std::uint32_t sequence) {
    transfers_.handleDeletion(event, sequence);
  }
  /// The window is gone.
  void forget(xcb_window_t requester) { transfers_.drop(requester); }
  std::optional<SteadyTime> deadline() const { return transfers_.deadline(); }
  void expire() { transfers_.expire(); }

 private:
  /// A target, and the property that it is to be written into.
  struct Entry {
    xcb_atom_t target = XCB_ATOM_NONE;
    xcb_atom_t property = XCB_ATOM_NONE;
    std::string name = {};
  };
  struct Request {
    xcb_selection_request_event_t event;
    std::shared_ptr<ClipboardOffer> offer;
    xcb_timestamp_t ownedSince;
    std::vector<Entry> entries;
    bool isMultiple = false;
  };

  const SelectionClaim* claimFor(const xcb_selection_request_event_t& event) const;
  bool isOurs(xcb_window_t window) const;
  std::optional<std::vector<Entry>> readEntries(const xcb_selection_request_event_t& event) const;

  bool prepare(Request& request);
  void answerPrepared();
  void answer(Request& request);
  bool answerEntry(const Request& request, const Entry& entry);
  bool sendAtoms(const Request& request, const Entry& entry);
  void notify(const xcb_selection_request_event_t& event, xcb_atom_t property);

  X11Connection& connection_;
  const std::vector<const SelectionClaim*> claims_;
  const Background background_;
  OutgoingTransfers transfers_;
  // Requests for something that is being encoded.
  std::list<Request> waiting_;
};

}  // namespace stowboard
