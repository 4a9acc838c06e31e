#pragma once

#include <xcb/xfixes.h>

#include <deque>
#include <functional>
#include <memory>
#include <optional>

#include "Platform/X11/Selection/SelectionFetch.h"
#include "Platform/X11/X11Connection.h"
#include "Platform/X11/X11Desktop.h"

namespace stowboard {

/// The bounds for the owner of a selection.
struct SelectionLimits : TransferLimits {
  /// How long the window of a fetch stays at least when that is over, so that an owner which
  /// answers late, or stops listening late, does not meet a window that is gone: that error ends
  /// many a program.
  std::chrono::milliseconds quarantine{30000};
};

/// Watches the CLIPBOARD and fetches the content of each new owner. Owners do not wait for each
/// other: a new one is asked at once, whatever the one before is still doing. What that one was
/// already asked for counts until the newer content is there; content is handed over in the order
/// of the copies.
///
/// Belongs to the selection thread; never waits for another program.
class SelectionReader {
 public:
  using Receiver = std::function<void(FetchedContent)>;
  /// Given the text of a secret, and which copy it was.
  using SecretReceiver = std::function<void(std::string_view, std::uint64_t)>;

  /// Watches from this moment on: copies made after the return are seen.
  SelectionReader(X11Connection& connection, const ApplicationIdentifying& applications,
                  const SelectionLimits& limits, Receiver receiver, SecretReceiver secretReceiver);

  /// A change of owner that does not come from this program.
  void handle(const xcb_xfixes_selection_notify_event_t& event, std::uint32_t sequence);
  void handle(const xcb_selection_notify_event_t& event);
  /// A new value of a property.
  void handle(const xcb_property_notify_event_t& event);
  /// Fetches that copy anew. The outcome is handed over with the same number; as out of reach when
  /// its owner is there no longer, or keeps it to itself by now.
  void reread(std::uint64_t copyNumber);
  /// Drops what is under way: nothing of it is handed over.
  void abandon();
  /// How many copies there have been; see FetchedContent::copyNumber.
  std::uint64_t copyCount() const { return copyCount_; }
  /// The next moment at which expire() has something to do; absent when nothing is pending.
  std::optional<SteadyTime> deadline() const;
  void expire();

 private:
  struct Owner {
    xcb_window_t window;
    xcb_timestamp_t since;
    std::optional<std::vector<std::string>> sources;
  };
  struct Retired {
    xcb_window_t window;
    SteadyTime end;
  };

  SelectionFetch* fetchFor(xcb_window_t window);
  SelectionFetch& begin(const Owner& owner);
  std::optional<std::vector<std::string>> sourcesOf(xcb_window_t owner) const;
  void settle();
  void finishOldest();
  void finish(SelectionFetch& fetch);
  void deliver(SelectionFetch& fetch);
  void deliverOutOfReach(std::uint64_t copyNumber);
  void retire(xcb_window_t window);

  X11Connection& connection_;
  const X11Desktop desktop_;
  const SelectionLimits limits_;
  const std::shared_ptr<ByteBudget> budget_;
  const Receiver receiver_;
  const SecretReceiver secretReceiver_;
  // The oldest first. All but the last are superseded.
  std::deque<std::unique_ptr<SelectionFetch>> fetches_;
  std::deque<Retired> retired_;
  // That of the last copy, unless it has ended or we have written since.
  std::optional<Owner> owner_;
  std::uint64_t copyCount_ = 0;
  // The last copy that was handed over.
  std::uint64_t delivered_ = 0;
};

}  // namespace stowboard
