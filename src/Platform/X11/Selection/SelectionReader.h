#pragma once

#include <xcb/xfixes.h>

#include <deque>
#include <functional>
#include <memory>
#include <optional>

#include "Platform/X11/Selection/IncomingTransfer.h"
#include "Platform/X11/Selection/SelectionFetch.h"
#include "Platform/X11/X11Connection.h"

namespace stowboard {

/// Watches the CLIPBOARD and fetches the content of each new owner. Owners do not wait for each
/// other: a new one is asked at once, whatever the one before is still doing. What that one was
/// already asked for counts until the newer content is there; content is handed over in the order
/// of the copies.
///
/// Lives on the thread that drives its connection; never waits for another program.
class SelectionReader {
 public:
  using Receiver = std::function<void(FetchedContent)>;

  /// Watches from this moment on: copies made after the return are seen.
  SelectionReader(X11Connection& connection, const SelectionLimits& limits, Receiver receiver);

  /// Changes of owner that come from this program are for the caller to leave out.
  void handle(const xcb_generic_event_t& event);
  /// Drops what is under way: nothing of it is handed over.
  void abandon();
  /// How many copies there have been; see FetchedContent::copyNumber.
  std::uint64_t copyCount() const { return copyCount_; }
  /// The next moment at which expire() has something to do; absent when nothing is pending.
  std::optional<SteadyTime> deadline() const;
  void expire();

 private:
  struct Retired {
    xcb_window_t window;
    SteadyTime end;
  };

  void handleOwner(const xcb_xfixes_selection_notify_event_t& event, std::uint32_t sequence);
  SelectionFetch* fetchFor(xcb_window_t window);
  void settle();
  void finish(SelectionFetch& fetch);
  void deliver(SelectionFetch& fetch);
  void retire(xcb_window_t window);

  X11Connection& connection_;
  const SelectionLimits limits_;
  const Receiver receiver_;
  // The oldest first. All but the last are superseded.
  std::deque<std::unique_ptr<SelectionFetch>> fetches_;
  std::deque<Retired> retired_;
  std::uint64_t copyCount_ = 0;
};

}  // namespace stowboard
