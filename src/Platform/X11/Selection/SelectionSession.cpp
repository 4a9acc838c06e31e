#include "Platform/X11/Selection/SelectionSession.h"

#include <cstring>
#include <utility>

#include "Base/Log.h"

namespace stowboard {

namespace {

template <typename Event>
const Event& as(const xcb_generic_event_t& event) {
  return reinterpret_cast<const Event&>(event);
}

}  // namespace

std::unique_ptr<SelectionSession> SelectionSession::create(
    ImageCodec& codec, const ApplicationIdentifying& applications, const SelectionOptions& options,
    ClipboardBackgrounds backgrounds, SnapshotReceiver receiver) {
  auto connection = X11Connection::open(options.display);
  auto writeConnection = X11Connection::open(options.display);
  if (!connection || !writeConnection) return nullptr;
  return std::unique_ptr<SelectionSession>(
      new SelectionSession(std::move(connection), std::move(writeConnection), codec, applications,
                           options, std::move(backgrounds), std::move(receiver)));
}

SelectionSession::SelectionSession(std::unique_ptr<X11Connection> connection,
                                   std::unique_ptr<X11Connection> writeConnection,
                                   ImageCodec& codec, const ApplicationIdentifying& applications,
                                   const SelectionOptions& options,
                                   ClipboardBackgrounds backgrounds, SnapshotReceiver receiver)
    : connection_(std::move(connection)),
      writeConnection_(std::move(writeConnection)),
      delivery_(codec, options.thumbnailDimension, std::move(backgrounds.preparation),
                std::move(receiver)),
      reader_(
          *connection_, applications, options.limits,
          [this](FetchedContent content) { delivery_.deliver(std::move(content), writeNumber_); },
          [this](std::string_view text, std::uint64_t copyNumber) {
            delivery_.rememberSecret(text, copyNumber);
          }),
      window_(connection_->createWindow(XCB_EVENT_MASK_PROPERTY_CHANGE)),
      // The answer also tells that the window is there for other connections.
      writeProperty_(connection_->atom("STOWBOARD_WRITE")),
      clipboard_(*connection_, window_, connection_->atom("CLIPBOARD")),
      primary_(*connection_, window_, XCB_ATOM_PRIMARY),
      server_(*connection_, {&clipboard_, &primary_}, options.requesterTimeout,
              std::move(backgrounds.encoding)),
      takeover_(*connection_, clipboard_, options.settling),
      handOver_(*connection_, window_, clipboard_, options.handOver) {}

// A few at a time, so that a flood of events does not hold off the deadlines.
bool SelectionSession::handleEvents() {
  constexpr int mostAtOnce = 64;
  int count = 0;
  for (; count < mostAtOnce; ++count) {
    const auto event = connection_->nextEvent();
    if (!event) break;
    handle(*event);
  }
  return count > 0;
}

void SelectionSession::handle(const xcb_generic_event_t& event) {
  dispatch(event);
  settlePublished();
}

void SelectionSession::dispatch(const xcb_generic_event_t& event) {
  const auto sequence = event.full_sequence;
  const int type = event.response_type & 0x7F;
  // Only the answers of owners are sent by programs (ICCCM 2.4).
  const bool isSent = (event.response_type & 0x80) != 0;
  if (isSent && type != XCB_SELECTION_NOTIFY) return;
  if (type == connection_->xfixesEventBase() + XCB_XFIXES_SELECTION_NOTIFY) {
    return handleOwner(as<xcb_xfixes_selection_notify_event_t>(event), sequence);
  }
  switch (type) {
    case XCB_SELECTION_CLEAR:
      return primary_.handle(as<xcb_selection_clear_event_t>(event), sequence);
    case XCB_SELECTION_REQUEST:
      return server_.handle(as<xcb_selection_request_event_t>(event));
    case XCB_SELECTION_NOTIFY: {
      const auto& answer = as<xcb_selection_notify_event_t>(event);
      return answer.requestor == window_ ? handOver_.end() : reader_.handle(answer);
    }
    case XCB_PROPERTY_NOTIFY:
      return handleProperty(as<xcb_property_notify_event_t>(event), sequence);
    case XCB_DESTROY_NOTIFY:
      return server_.forget(as<xcb_destroy_notify_event_t>(event).window);
    case 0:
      // A window that was gone before its end was announced.
      if (as<xcb_generic_error_t>(event).error_code == XCB_WINDOW) {
        server_.forget(as<xcb_generic_error_t>(event).resource_id);
      }
      return;
    default:
      return;
  }
}

void SelectionSession::handleProperty(const xcb_property_notify_event_t& event,
                                      std::uint32_t sequence) {
  if (event.window != window_) {
    return event.state == XCB_PROPERTY_DELETE ? server_.handleDeletion(event, sequence)
                                              : reader_.handle(event);
  }
  if (event.state == XCB_PROPERTY_DELETE) return;
  if (event.atom == writeProperty_) takeWrite(event.time);
  clipboard_.handle(event, sequence);
  primary_.handle(event, sequence);
  handOver_.proceed(isWriting());
}

void SelectionSession::handleOwner(const xcb_xfixes_selection_notify_event_t& event,
                                   std::uint32_t sequence) {
  lastChange_ = event.selection_timestamp;
  if (event.owner == window_) return;
  const bool isClaimed = clipboard_.isPending() || clipboard_.offer();
  // Another program's copy, which our ownership has ended.
  if (isClaimed && !clipboard_.isOvertakenBy(event, sequence)) return;
  clipboard_.release();
  if (handOver_.hasBegun()) return takeover_.forget();
  // A program that gives the clipboard up on purpose wants it to be empty.
  const bool isOnPurpose = event.subtype == XCB_XFIXES_SELECTION_EVENT_SET_SELECTION_OWNER;
  if (event.owner == XCB_NONE && !isOnPurpose) {
    takeover_.begin();
  } else {
    takeover_.forget();
  }
  reader_.handle(event, sequence);
  if (event.owner == XCB_NONE && isOnPurpose) delivery_.deliverClearing(writeNumber_);
}

void SelectionSession::keep(std::shared_ptr<const ClipboardSnapshot> copy) {
  if (copy->isWhole && copy->copyNumber == reader_.copyCount()) takeover_.keep(std::move(copy));
}

std::optional<SteadyTime> SelectionSession::deadline() const {
  std::optional<SteadyTime> earliest;
  for (const auto& each :
       {reader_.deadline(), server_.deadline(), takeover_.deadline(), handOver_.deadline()}) {
    if (each && (!earliest || *each < *earliest)) earliest = each;
  }
  return earliest;
}

void SelectionSession::expire() {
  reader_.expire();
  server_.expire();
  takeover_.expire();
  handOver_.expire();
}

void SelectionSession::beginWrite(std::uint32_t number) {
  latestWrite_ = number;
  xcb_change_property(writeConnection_->xcb(), XCB_PROP_MODE_APPEND, window_, writeProperty_,
                      XCB_ATOM_CARDINAL, 32, 1, &number);
  xcb_flush(writeConnection_->xcb());
  // Every client is sent some events, such as those of a new keyboard layout; unread, they pile up.
  while (writeConnection_->nextEvent()) {
  }
}

// One write for each announcement, though the property may hold more by now. Any program can change
// it: what has not been begun does not count.
void SelectionSession::takeWrite(xcb_timestamp_t time) {
  connection_->takeProperty(window_, writeProperty_, [&](PropertyKind, std::string_view bytes) {
    for (std::uint32_t number = 0; bytes.size() >= sizeof number;
         bytes.remove_prefix(sizeof number)) {
      std::memcpy(&number, bytes.data(), sizeof number);
      if (number > writeNumber_ && number <= latestWrite_) comingWrites_.insert(number);
    }
    return true;
  });
  if (comingWrites_.empty()) return;
  delivery_.forgetSecret();
  writeNumber_ = *comingWrites_.begin();
  comingWrites_.erase(comingWrites_.begin());
  takeover_.forget();
  reader_.abandon();
  // A program that takes the clipboard after this, but within the same millisecond, comes first.
  clipboard_.beginAt(time == lastChange_ ? time : time - 1);
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
  awaitReply(xcb_get_input_focus_reply, connection_->xcb(),
             xcb_get_input_focus(connection_->xcb()));
  for (const auto& done : std::exchange(onPublished_, {})) done();
}

void SelectionSession::handOver() {
  reader_.abandon();
  handOver_.begin();
  handOver_.proceed(isWriting());
}

}  // namespace stowboard
