#include "Platform/X11/Selection/SelectionServer.h"

#include <algorithm>
#include <utility>

namespace stowboard {

namespace {

// Far more than any requester asks for at once; it bounds the work that a broken one can make.
constexpr std::uint32_t maxEntries = 256;

constexpr xcb_atom_t none = XCB_ATOM_NONE;

template <typename Element>
Bytes bytesOf(const std::vector<Element>& elements) {
  static_assert(sizeof(Element) == 4);
  return Bytes(std::string(reinterpret_cast<const char*>(elements.data()), elements.size() * 4));
}

}  // namespace

SelectionServer::SelectionServer(X11Connection& connection,
                                 std::vector<const SelectionClaim*> claims,
                                 std::chrono::milliseconds patience, Background background)
    : connection_(connection),
      claims_(std::move(claims)),
      background_(std::move(background)),
      transfers_(connection, patience) {}

void SelectionServer::handle(xcb_selection_request_event_t event) {
  if (isOurs(event.requestor)) return;
  const bool isMultiple = event.target == connection_.atom("MULTIPLE");
  // Programs older than the ICCCM leave the property out and look into the target's (2.2).
  if (event.property == XCB_ATOM_NONE && !isMultiple) event.property = event.target;
  const auto* claim = claimFor(event);
  auto entries = !claim       ? std::nullopt
                 : isMultiple ? readEntries(event)
                              : std::optional(std::vector{Entry{event.target, event.property}});
  if (!entries) return notify(event, XCB_ATOM_NONE);
  Request request{event, claim->offer(), claim->time(), *std::move(entries), isMultiple};
  if (prepare(request)) {
    answer(request);
  } else {
    waiting_.push_back(std::move(request));
  }
}

const SelectionClaim* SelectionServer::claimFor(const xcb_selection_request_event_t& event) const {
  const auto found = std::ranges::find(claims_, event.selection, &SelectionClaim::selection);
  if (found == claims_.end() || !(*found)->offer()) return nullptr;
  const auto age = static_cast<std::int32_t>((*found)->time() - event.time);
  // The requester means the owner before us.
  const bool isForEarlier = event.time != XCB_CURRENT_TIME && age > 0;
  return isForEarlier ? nullptr : *found;
}

// Answering a window of our own connection would change what we listen to there.
bool SelectionServer::isOurs(xcb_window_t window) const {
  const auto* setup = xcb_get_setup(connection_.xcb());
  return (window & ~setup->resource_id_mask) == setup->resource_id_base;
}

std::optional<std::vector<SelectionServer::Entry>> SelectionServer::readEntries(
    const xcb_selection_request_event_t& event) const {
  const auto cookie = xcb_get_property(connection_.xcb(), 0, event.requestor, event.property,
                                       XCB_GET_PROPERTY_TYPE_ANY, 0, 2 * maxEntries);
  const auto reply = awaitReply(xcb_get_property_reply, connection_.xcb(), cookie);
  if (!reply || reply->format != 32 || reply->bytes_after != 0) return std::nullopt;
  const auto* atoms = static_cast<const xcb_atom_t*>(xcb_get_property_value(reply.get()));
  std::vector<Entry> entries(reply->value_len / 2);
  for (auto& entry : entries) {
    entry.target = *atoms++;
    entry.property = *atoms++;
  }
  return entries;
}

bool SelectionServer::prepare(Request& request) {
  bool isReady = true;
  for (auto& entry : request.entries) {
    if (entry.name.empty()) {
      const auto names = connection_.atomNames({entry.target});
      if (!names.empty()) entry.name = names.front();
    }
    if (!request.offer->offers(entry.name) || request.offer->isAtHand(entry.name)) continue;
    request.offer->prepare(entry.name, background_, [this] { answerPrepared(); });
    isReady = false;
  }
  return isReady;
}

void SelectionServer::answerPrepared() {
  for (auto next = waiting_.begin(); next != waiting_.end();) {
    const auto each = next++;
    if (!prepare(*each)) continue;
    answer(*each);
    waiting_.erase(each);
  }
}

void SelectionServer::answer(Request& request) {
  if (!request.isMultiple) {
    const auto& entry = request.entries.front();
    return notify(request.event, answerEntry(request, entry) ? entry.property : none);
  }
  std::vector<xcb_atom_t> pairs;
  bool isComplete = true;
  for (const auto& entry : request.entries) {
    const bool isAnswered = answerEntry(request, entry);
    isComplete = isComplete && isAnswered;
    // ICCCM 2.6.2 has the target replaced by None, many a requester looks at the property.
    pairs.push_back(isAnswered ? entry.target : none);
    pairs.push_back(isAnswered ? entry.property : none);
  }
  if (!isComplete) {
    transfers_.send(request.event.requestor, request.event.property,
                    {connection_.atom("ATOM_PAIR"), 32}, bytesOf(pairs));
  }
  notify(request.event, request.event.property);
}

bool SelectionServer::answerEntry(const Request& request, const Entry& entry) {
  if (entry.property == XCB_ATOM_NONE) return false;
  if (sendAtoms(request, entry)) return true;
  if (!request.offer->offers(entry.name)) return false;
  const auto conversion = request.offer->conversion(entry.name);
  if (!conversion) return false;
  transfers_.send(request.event.requestor, entry.property, {connection_.atom(conversion->type), 8},
                  conversion->content);
  return true;
}

bool SelectionServer::sendAtoms(const Request& request, const Entry& entry) {
  const auto send = [&](xcb_atom_t type, const std::vector<std::uint32_t>& elements) {
    transfers_.send(request.event.requestor, entry.property, {type, 32}, bytesOf(elements));
    return true;
  };
  if (entry.name == "TIMESTAMP") return send(XCB_ATOM_INTEGER, {request.ownedSince});
  // What it asks for is done by answering (the freedesktop.org clipboard manager standard).
  if (entry.name == "SAVE_TARGETS") return send(connection_.atom("NULL"), {});
  if (entry.name != "TARGETS") return false;
  std::vector<xcb_atom_t> atoms;
  for (const char* name : {"TARGETS", "TIMESTAMP", "MULTIPLE", "SAVE_TARGETS"}) {
    atoms.push_back(connection_.atom(name));
  }
  for (const auto& name : request.offer->targets()) atoms.push_back(connection_.atom(name));
  return send(XCB_ATOM_ATOM, atoms);
}

void SelectionServer::notify(const xcb_selection_request_event_t& event, xcb_atom_t property) {
  xcb_selection_notify_event_t answer{};
  answer.response_type = XCB_SELECTION_NOTIFY;
  answer.time = event.time;
  answer.requestor = event.requestor;
  answer.selection = event.selection;
  answer.target = event.target;
  answer.property = property;
  xcb_send_event(connection_.xcb(), 0, event.requestor, XCB_EVENT_MASK_NO_EVENT,
                 reinterpret_cast<const char*>(&answer));
}

}  // namespace stowboard
