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

/// Watches the CLIPBOARD and fetches the content of each new owner. A new one is asked at once,
/// whatever the one before is still doing; what that one was already asked for counts until the
/// newer content is there.
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
  std::optional<SteadyTime> deadline() const { return fetches_.deadline(); }
  void expire() { fetches_.expire(); }
  /// How many copies there have been; see FetchedContent::copyNumber.
  std::uint64_t copyCount() const { return copyCount_; }

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
  void retire(xcb_window_t window);

  X11Connection& connection_;
  const X11Desktop desktop_;
  const SelectionLimits limits_;
  FetchQueue<SelectionFetch> fetches_;
  std::deque<Retired> retired_;
  // That of the last copy, unless it has ended or we have written since.
  std::optional<Owner> owner_;
  std::uint64_t copyCount_ = 0;
};

}  // namespace stowboard
