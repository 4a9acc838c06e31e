#include "Platform/X11/Selection/SelectionReader.h"

#include <algorithm>
#include <utility>

#include "Base/Log.h"

namespace stowboard {

namespace {

// Superseded fetches that may still come in; more are a sign of owners that fight each other.
constexpr std::size_t maxFetches = 16;

SteadyTime now() { return std::chrono::steady_clock::now(); }

}  // namespace

SelectionReader::SelectionReader(X11Connection& connection,
                                 const ApplicationIdentifying& applications,
                                 const SelectionLimits& limits, Receiver receiver,
                                 SecretReceiver secretReceiver)
    : connection_(connection),
      desktop_(connection, applications),
      limits_(limits),
      budget_(std::make_shared<ByteBudget>(limits.maxTotalBytes)),
      receiver_(std::move(receiver)),
      secretReceiver_(std::move(secretReceiver)) {
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
  settle();
}

void SelectionReader::handle(const xcb_property_notify_event_t& event) {
  if (auto* fetch = fetchFor(event.window)) fetch->handle(event, now());
  settle();
}

void SelectionReader::handle(const xcb_xfixes_selection_notify_event_t& event,
                             std::uint32_t sequence) {
  const bool isLoss =
      event.subtype != XCB_XFIXES_SELECTION_EVENT_SET_SELECTION_OWNER || event.owner == XCB_NONE;
  if (isLoss) {
    owner_.reset();
    // All answers that the owner gave before its end have come in before this event.
    if (!fetches_.empty()) fetches_.back()->loseOwner();
    return settle();
  }
  for (auto& fetch : fetches_) fetch->supersede(sequence, event.owner);
  copyCount_ += 1;
  owner_ = {event.owner, event.timestamp, {}};
  auto& fetch = begin(*owner_);
  // While the owner works on its answer.
  xcb_flush(connection_.xcb());
  owner_->sources = sourcesOf(event.owner);
  fetch.setSources(owner_->sources);
  if (fetches_.size() > maxFetches) fetches_.front()->overtake();
  settle();
}

SelectionFetch& SelectionReader::begin(const Owner& owner) {
  fetches_.push_back(std::make_unique<SelectionFetch>(connection_, limits_, owner.window,
                                                      owner.since, now(), copyCount_,
                                                      std::make_shared<ByteShare>(budget_)));
  fetches_.back()->setSources(owner.sources);
  return *fetches_.back();
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
    deliverOutOfReach(copyNumber);
  }
}

void SelectionReader::abandon() {
  owner_.reset();
  for (auto& fetch : std::exchange(fetches_, {})) {
    fetch->abandon();
    fetch->useSecret([](auto, auto) {});
    Log::clipboard.info("Gave up reading the clipboard: {}", fetch->failure());
    retire(fetch->window());
  }
}

SelectionFetch* SelectionReader::fetchFor(xcb_window_t window) {
  const auto found = std::ranges::find(fetches_, window, &SelectionFetch::window);
  return found == fetches_.end() ? nullptr : found->get();
}

std::optional<SteadyTime> SelectionReader::deadline() const {
  std::optional<SteadyTime> earliest;
  for (const auto& fetch : fetches_) {
    earliest = std::min(earliest.value_or(fetch->deadline()), fetch->deadline());
  }
  return earliest;
}

void SelectionReader::expire() {
  const auto time = now();
  for (auto& fetch : fetches_) fetch->expire(time);
  settle();
}

void SelectionReader::settle() {
  const auto ended = [](const auto& fetch) { return !fetch->isPending(); };
  const auto newest = std::find_if(fetches_.rbegin(), fetches_.rend(), ended);
  for (auto left = fetches_.rend() - newest; left > 0; --left) finishOldest();
  // The newest copy is not to want for room.
  while (fetches_.size() > 1 && budget_->used() > limits_.maxTotalBytes / 2) finishOldest();
}

void SelectionReader::finishOldest() {
  const auto fetch = std::move(fetches_.front());
  fetches_.pop_front();
  fetch->overtake();
  finish(*fetch);
}

void SelectionReader::finish(SelectionFetch& fetch) {
  if (fetch.state() == SelectionFetch::State::failed) {
    Log::clipboard.info("Gave up reading the clipboard: {}", fetch.failure());
  }
  retire(fetch.window());
  if (fetch.state() == SelectionFetch::State::secret) {
    Log::clipboard.info("Skipped: the content is marked as a secret");
    fetch.useSecret(secretReceiver_);
    if (fetch.copyNumber() <= delivered_) deliverOutOfReach(fetch.copyNumber());
  } else {
    deliver(fetch);
  }
}

void SelectionReader::deliver(SelectionFetch& fetch) {
  auto content = fetch.takeContent();
  // Half a content counts where nothing better comes, but not before the same owner's next try.
  // Of an owner that has ended, only what it gave counts: the clipboard is empty.
  const bool isNextTry = fetch.isSuperseded() && !fetch.isFollowedByOther();
  const bool isWorthwhile = fetch.state() == SelectionFetch::State::complete ||
                            (!fetch.isSuperseded() && !fetch.hasLostOwner()) ||
                            (!isNextTry && content.hasData());
  const bool isReread = content.copyNumber <= delivered_;
  if (!isWorthwhile) return isReread ? deliverOutOfReach(content.copyNumber) : void();
  delivered_ = content.copyNumber;
  receiver_(std::move(content));
}

void SelectionReader::deliverOutOfReach(std::uint64_t copyNumber) {
  FetchedContent nothing;
  nothing.news = ClipboardNews::outOfReach;
  nothing.copyNumber = copyNumber;
  receiver_(std::move(nothing));
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
