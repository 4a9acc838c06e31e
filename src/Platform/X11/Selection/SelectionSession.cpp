#include "Platform/X11/Selection/SelectionSession.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "Base/Log.h"

namespace stowboard {

namespace {

SteadyTime now() { return std::chrono::steady_clock::now(); }

template <typename Event>
const Event& as(const xcb_generic_event_t& event) {
  return reinterpret_cast<const Event&>(event);
}

}  // namespace

SelectionSession::SelectionSession(X11Connection& connection, const SelectionLimits& limits,
                                   const ServingTimes& times, SelectionReader::Receiver receiver,
                                   SelectionServer::Background background)
    : connection_(connection),
      times_(times),
      reader_(connection, limits,
              [this, receiver = std::move(receiver)](FetchedContent content) {
                content.writeNumber = writeNumber_;
                receiver(std::move(content));
              }),
      window_(connection.createWindow(XCB_EVENT_MASK_PROPERTY_CHANGE)),
      // The answer also tells that the window is there for other connections.
      writeProperty_(connection.atom("STOWBOARD_WRITE")),
      clipboard_(connection, window_, connection.atom("CLIPBOARD")),
      primary_(connection, window_, XCB_ATOM_PRIMARY),
      server_(connection, {&clipboard_, &primary_}, times.requesterTimeout, std::move(background)) {
}

void SelectionSession::handle(const xcb_generic_event_t& event) {
  dispatch(event);
  settlePublished();
}

void SelectionSession::dispatch(const xcb_generic_event_t& event) {
  const int type = event.response_type & 0x7F;
  if (type == connection_.xfixesEventBase() + XCB_XFIXES_SELECTION_NOTIFY) {
    return handleOwner(as<xcb_xfixes_selection_notify_event_t>(event), event.full_sequence);
  }
  if (type == XCB_SELECTION_CLEAR) {
    return primary_.handle(as<xcb_selection_clear_event_t>(event), event.full_sequence);
  }
  if (type == XCB_PROPERTY_NOTIFY && as<xcb_property_notify_event_t>(event).window == window_) {
    return handleProperty(as<xcb_property_notify_event_t>(event), event.full_sequence);
  }
  if (type == XCB_SELECTION_NOTIFY &&
      as<xcb_selection_notify_event_t>(event).requestor == window_) {
    return endHandOver();
  }
  server_.handle(event);
  reader_.handle(event);
}

void SelectionSession::handleProperty(const xcb_property_notify_event_t& event,
                                      std::uint32_t sequence) {
  if (event.atom == writeProperty_) beginWrite(event.time);
  clipboard_.handle(event, sequence);
  primary_.handle(event, sequence);
  proceedHandOver();
}

void SelectionSession::handleOwner(const xcb_xfixes_selection_notify_event_t& event,
                                   std::uint32_t sequence) {
  if (event.owner == window_) return;
  const bool isClaimed = clipboard_.isPending() || clipboard_.offer();
  // Another program's copy, which our ownership has ended.
  if (isClaimed && !clipboard_.isOvertakenBy(event, sequence)) return;
  clipboard_.release();
  takeover_ = Takeover::none;
  if (isLeaving_) return;
  if (event.owner == XCB_NONE) {
    handleLoss(event);
  } else {
    forgetCopy();
  }
  reader_.handle(reinterpret_cast<const xcb_generic_event_t&>(event));
}

void SelectionSession::handleLoss(const xcb_xfixes_selection_notify_event_t& event) {
  // A program that gives the clipboard up on purpose wants it to be empty.
  const bool isOnPurpose = event.subtype == XCB_XFIXES_SELECTION_EVENT_SET_SELECTION_OWNER;
  if (isOnPurpose) return forgetCopy();
  takeover_ = Takeover::settling;
  settlingEnd_ = now() + times_.settling;
}

void SelectionSession::forgetCopy() {
  keptCopy_ = 0;
  kept_.reset();
}

std::optional<SteadyTime> SelectionSession::deadline() const {
  std::optional<SteadyTime> earliest = reader_.deadline();
  const auto consider = [&earliest](std::optional<SteadyTime> time) {
    if (time) earliest = std::min(earliest.value_or(*time), *time);
  };
  consider(server_.deadline());
  if (takeover_ == Takeover::settling) consider(settlingEnd_);
  consider(handOverEnd_);
  return earliest;
}

void SelectionSession::expire() {
  const auto time = now();
  if (const auto due = reader_.deadline(); due && *due <= time) reader_.expire();
  server_.expire();
  if (takeover_ == Takeover::settling && settlingEnd_ <= time) {
    takeover_ = Takeover::due;
    takeOverWhenReady();
  }
  if (handOverEnd_ && *handOverEnd_ <= time) {
    Log::clipboard.info("The clipboard manager took too long to save the clipboard");
    endHandOver();
  }
}

void SelectionSession::beginWrite(xcb_timestamp_t time) {
  writeNumber_ += 1;
  takeover_ = Takeover::none;
  forgetCopy();
  reader_.abandon();
  clipboard_.beginAt(time);
  if (early_ && earlyNumber_ == writeNumber_) clipboard_.provide(std::exchange(early_, nullptr));
}

void SelectionSession::provide(std::uint64_t number, std::shared_ptr<ClipboardOffer> offer) {
  if (number == writeNumber_) {
    clipboard_.provide(std::move(offer));
  } else if (number > writeNumber_) {
    early_ = std::move(offer);
    earlyNumber_ = number;
  }
}

void SelectionSession::offerPrimary(std::shared_ptr<ClipboardOffer> offer) {
  primary_.begin(SelectionClaim::Manner::always);
  primary_.provide(std::move(offer));
}

void SelectionSession::whenPublished(std::function<void()> done) {
  onPublished_.push_back(std::move(done));
  settlePublished();
}

void SelectionSession::settlePublished() {
  if (onPublished_.empty() || isWriting() || primary_.isPending()) return;
  // The answer comes after the server has handled the claims.
  const XcbPointer<xcb_get_input_focus_reply_t> answer(xcb_get_input_focus_reply(
      connection_.xcb(), xcb_get_input_focus(connection_.xcb()), nullptr));
  for (const auto& done : std::exchange(onPublished_, {})) done();
}

void SelectionSession::keep(std::uint64_t copyNumber, std::shared_ptr<ClipboardOffer> offer) {
  if (copyNumber != reader_.copyCount()) return;
  keptCopy_ = copyNumber;
  kept_ = std::move(offer);
  takeOverWhenReady();
}

void SelectionSession::takeOverWhenReady() {
  if (takeover_ != Takeover::due || !kept_) return;
  takeover_ = Takeover::none;
  auto offer = std::exchange(kept_, nullptr);
  if (clipboardManager() != XCB_NONE) return;
  Log::clipboard.info("Keeping the clipboard of a program that has ended");
  clipboard_.begin(SelectionClaim::Manner::whileUnowned);
  clipboard_.provide(std::move(offer));
}

xcb_window_t SelectionSession::clipboardManager() {
  const auto cookie =
      xcb_get_selection_owner(connection_.xcb(), connection_.atom("CLIPBOARD_MANAGER"));
  const XcbPointer<xcb_get_selection_owner_reply_t> reply(
      xcb_get_selection_owner_reply(connection_.xcb(), cookie, nullptr));
  return reply ? reply->owner : XCB_NONE;
}

void SelectionSession::handOver(std::function<void()> done) {
  onHandedOver_.push_back(std::move(done));
  isLeaving_ = true;
  reader_.abandon();
  if (!handOverEnd_) handOverEnd_ = now() + times_.handOver;
  proceedHandOver();
}

void SelectionSession::proceedHandOver() {
  if (!handOverEnd_ || isSavingRequested_) return;
  if (clipboardManager() == XCB_NONE) return endHandOver();
  // Comes back once the clipboard is ours.
  if (isWriting()) return;
  if (!clipboard_.offer()) return endHandOver();
  requestSaving();
}

// The freedesktop.org clipboard manager standard.
void SelectionSession::requestSaving() {
  isSavingRequested_ = true;
  const auto saveTargets = connection_.atom("SAVE_TARGETS");
  std::vector<xcb_atom_t> targets;
  for (const auto& name : clipboard_.offer()->targets()) targets.push_back(connection_.atom(name));
  xcb_change_property(connection_.xcb(), XCB_PROP_MODE_REPLACE, window_, saveTargets, XCB_ATOM_ATOM,
                      32, static_cast<std::uint32_t>(targets.size()), targets.data());
  xcb_convert_selection(connection_.xcb(), window_, connection_.atom("CLIPBOARD_MANAGER"),
                        saveTargets, saveTargets, clipboard_.time());
}

void SelectionSession::endHandOver() {
  handOverEnd_.reset();
  isSavingRequested_ = false;
  for (const auto& done : std::exchange(onHandedOver_, {})) done();
}

}  // namespace stowboard
