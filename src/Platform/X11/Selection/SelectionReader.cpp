#include "Platform/X11/Selection/SelectionReader.h"

#include <algorithm>
#include <utility>

namespace stowboard {

namespace {

SteadyTime now() { return std::chrono::steady_clock::now(); }

}  // namespace

SelectionReader::SelectionReader(X11Connection& connection,
                                 const ApplicationIdentifying& applications,
                                 const SelectionLimits& limits, Receiver receiver,
                                 SecretReceiver secretReceiver)
    : connection_(connection),
      desktop_(connection, applications),
      limits_(limits),
      fetches_(limits.maxTotalBytes, {std::move(receiver), std::move(secretReceiver),
                                      [this](const auto& fetch) { retire(fetch.window()); }}) {
  xcb_xfixes_select_selection_input(connection.xcb(), connection.root(),
                                    connection.atom("CLIPBOARD"),
                                    XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                                        XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                                        XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE);
  // The answer to a later request tells that the server has handled the one above.
  connection.atom("TARGETS");
  connection.atom("INCR");
}

void SelectionReader::handle(const xcb_selection_notify_event_t& event) {
  if (auto* fetch = fetchFor(event.requestor)) fetch->handle(event, now());
  fetches_.settle();
}

void SelectionReader::handle(const xcb_property_notify_event_t& event) {
  if (auto* fetch = fetchFor(event.window)) fetch->handle(event, now());
  fetches_.settle();
}

void SelectionReader::handle(const xcb_xfixes_selection_notify_event_t& event,
                             std::uint32_t sequence) {
  const bool isLoss =
      event.subtype != XCB_XFIXES_SELECTION_EVENT_SET_SELECTION_OWNER || event.owner == XCB_NONE;
  if (isLoss) {
    owner_.reset();
    // All answers that the owner gave before its end have come in before this event.
    if (!fetches_.all().empty()) fetches_.all().back()->loseOwner();
    return fetches_.settle();
  }
  for (const auto& fetch : fetches_.all()) fetch->supersede(sequence, event.owner);
  copyCount_ += 1;
  owner_ = {event.owner, event.timestamp, {}};
  auto& fetch = begin(*owner_);
  // While the owner works on its answer.
  xcb_flush(connection_.xcb());
  owner_->sources = sourcesOf(event.owner);
  fetch.setSources(owner_->sources);
  fetches_.settle();
}

SelectionFetch& SelectionReader::begin(const Owner& owner) {
  auto& fetch = fetches_.add(std::make_unique<SelectionFetch>(
      connection_, limits_, owner.window, owner.since, now(), copyCount_, fetches_.makeShare()));
  fetch.setSources(owner.sources);
  return fetch;
}

std::optional<std::vector<std::string>> SelectionReader::sourcesOf(xcb_window_t owner) const {
  std::vector<std::string> sources;
  for (const auto& application : {desktop_.frontmost(), desktop_.applicationOf(owner)}) {
    if (application && application->bundleIdentifier) {
      sources.push_back(*application->bundleIdentifier);
    }
  }
  return sources;
}

void SelectionReader::reread(std::uint64_t copyNumber) {
  if (copyNumber == copyCount_ && owner_) {
    begin(*owner_);
  } else {
    fetches_.deliverOutOfReach(copyNumber);
  }
}

void SelectionReader::abandon() {
  owner_.reset();
  fetches_.abandon();
}

SelectionFetch* SelectionReader::fetchFor(xcb_window_t window) {
  const auto found = std::ranges::find(fetches_.all(), window, &SelectionFetch::window);
  return found == fetches_.all().end() ? nullptr : found->get();
}

// No timer wakes the thread for these: they go when the next ones come.
void SelectionReader::retire(xcb_window_t window) {
  for (; !retired_.empty() && retired_.front().end <= now(); retired_.pop_front()) {
    connection_.destroyWindow(retired_.front().window);
  }
  const std::uint32_t noEvents = 0;
  xcb_change_window_attributes(connection_.xcb(), window, XCB_CW_EVENT_MASK, &noEvents);
  retired_.push_back({window, now() + limits_.quarantine});
}

}  // namespace stowboard
