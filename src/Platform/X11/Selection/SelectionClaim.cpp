#include "Platform/X11/Selection/SelectionClaim.h"

#include <utility>

namespace stowboard {

namespace {

// Times and request numbers wrap around.
bool isLater(std::uint32_t left, std::uint32_t right) {
  return static_cast<std::int32_t>(left - right) > 0;
}

}  // namespace

bool hasOwner(X11Connection& connection, xcb_atom_t selection) {
  const auto cookie = xcb_get_selection_owner(connection.xcb(), selection);
  const auto reply = awaitReply(xcb_get_selection_owner_reply, connection.xcb(), cookie);
  return reply && reply->owner != XCB_NONE;
}

void SelectionClaim::begin(Manner manner) {
  // Appending nothing changes nothing, yet it is announced, and with the server's time. The
  // property has the selection's name, so that several claims do not mix.
  const auto cookie = xcb_change_property(connection_.xcb(), XCB_PROP_MODE_APPEND, window_,
                                          selection_, XCB_ATOM_STRING, 8, 0, nullptr);
  wish_ = {manner, cookie.sequence, {}, {}};
}

void SelectionClaim::beginAt(xcb_timestamp_t time) { wish_ = {Manner::always, 0, time, {}}; }

void SelectionClaim::provide(std::shared_ptr<ClipboardOffer> offer) {
  if (wish_) {
    wish_->offer = std::move(offer);
    takeWhenReady();
  } else if (offer_) {
    offer_ = std::move(offer);
  }
}

void SelectionClaim::handle(const xcb_property_notify_event_t& event, std::uint32_t sequence) {
  if (!wish_ || wish_->time || event.atom != selection_ || isLater(wish_->sequence, sequence)) {
    return;
  }
  wish_->time = event.time;
  takeWhenReady();
}

void SelectionClaim::takeWhenReady() {
  if (!wish_->time || !wish_->offer) return;
  auto wish = *std::exchange(wish_, std::nullopt);
  time_ = *wish.time;
  if (wish.manner == Manner::always) {
    const auto cookie = xcb_set_selection_owner(connection_.xcb(), window_, selection_, time_);
    sequence_ = cookie.sequence;
  } else if (!take()) {
    return release();
  }
  offer_ = std::move(wish.offer);
}

bool SelectionClaim::take() {
  // Nobody may get in between the question and the deed.
  xcb_grab_server(connection_.xcb());
  const bool isFree = !hasOwner(connection_, selection_);
  if (isFree) {
    sequence_ = xcb_set_selection_owner(connection_.xcb(), window_, selection_, time_).sequence;
  }
  xcb_ungrab_server(connection_.xcb());
  // Every other program waits for it.
  xcb_flush(connection_.xcb());
  return isFree;
}

bool SelectionClaim::isOvertakenBy(const xcb_xfixes_selection_notify_event_t& event,
                                   std::uint32_t sequence) {
  if (wish_ && event.owner == XCB_NONE) {
    if (wish_->time && isLater(event.selection_timestamp, *wish_->time)) {
      wish_->time = event.selection_timestamp;
    }
    return false;
  }
  // Of the same time, the later request counts. One that came first but names a later time has
  // kept ours from taking effect. A wish is always older than what is reported after its time was.
  const bool isOlder =
      offer_ && isLater(sequence_, sequence) && !isLater(event.selection_timestamp, time_);
  return !isOlder;
}

void SelectionClaim::handle(const xcb_selection_clear_event_t& event, std::uint32_t sequence) {
  const bool isAboutThis = offer_ && event.selection == selection_ && !isLater(sequence_, sequence);
  if (!isAboutThis) return;
  offer_.reset();
  // A wish that is older than the other's ownership would come to nothing.
  if (wish_ && wish_->time && isLater(event.time, *wish_->time)) wish_.reset();
}

void SelectionClaim::release() {
  wish_.reset();
  offer_.reset();
}

}  // namespace stowboard
