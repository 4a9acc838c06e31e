#include "Platform/X11/Selection/OutgoingTransfers.h"

#include <algorithm>
#include <limits>

#include "Base/Log.h"

namespace stowboard {

namespace {

// A quarter of what the server takes in one request leaves room for others (ICCCM 2.5); the upper
// bound is for the server's memory, which holds a chunk for every requester.
std::size_t chunkSizeFor(xcb_connection_t* connection) {
  constexpr std::size_t largest = 256 * 1024;
  const std::size_t inOneRequest = std::size_t{4} * xcb_get_maximum_request_length(connection);
  return std::min(largest, inOneRequest / 4);
}

}  // namespace

OutgoingTransfers::OutgoingTransfers(X11Connection& connection, std::chrono::milliseconds patience)
    : connection_(connection),
      patience_(patience),
      incr_(connection.atom("INCR")),
      chunkSize_(chunkSizeFor(connection.xcb())) {}

void OutgoingTransfers::send(xcb_window_t requester, xcb_atom_t property, PropertyKind kind,
                             const Bytes& content) {
  const Key key{requester, property};
  if (const auto earlier = transfers_.find(key); earlier != transfers_.end()) end(earlier);
  if (content.size() > chunkSize_) {
    begin(key, kind, content);
  } else {
    put(key, kind, content.view());
  }
}

void OutgoingTransfers::begin(const Key& key, PropertyKind kind, const Bytes& content) {
  // Before the property is there: nothing that the requester does with it may be missed.
  listen(key.first, XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY);
  constexpr std::size_t most = std::numeric_limits<std::int32_t>::max();
  const auto size = static_cast<std::int32_t>(std::min(content.size(), most));
  const auto sequence = put(key, {incr_, 32}, {reinterpret_cast<const char*>(&size), sizeof size});
  const auto deadline = std::chrono::steady_clock::now() + patience_;
  transfers_.emplace(key, Transfer{content, kind, deadline, 0, sequence});
}

std::uint32_t OutgoingTransfers::put(const Key& key, PropertyKind kind, std::string_view content) {
  const auto elements = content.size() * 8 / static_cast<std::size_t>(kind.format);
  return xcb_change_property(connection_.xcb(), XCB_PROP_MODE_REPLACE, key.first, key.second,
                             kind.type, static_cast<std::uint8_t>(kind.format),
                             static_cast<std::uint32_t>(elements), content.data())
      .sequence;
}

void OutgoingTransfers::listen(xcb_window_t requester, std::uint32_t events) {
  xcb_change_window_attributes(connection_.xcb(), requester, XCB_CW_EVENT_MASK, &events);
}

void OutgoingTransfers::handleDeletion(const xcb_property_notify_event_t& event,
                                       std::uint32_t sequence) {
  const auto found = transfers_.find({event.window, event.atom});
  if (found == transfers_.end()) return;
  auto& transfer = found->second;
  // The deletion of something that was there before, seen late.
  if (static_cast<std::int32_t>(sequence - transfer.sequence) < 0) return;
  const auto chunk = transfer.content.view().substr(transfer.sent, chunkSize_);
  transfer.sequence = put(found->first, transfer.kind, chunk);
  transfer.sent += chunk.size();
  transfer.deadline = std::chrono::steady_clock::now() + patience_;
  // A chunk of no length tells the requester that it has everything.
  if (chunk.empty()) end(found);
}

void OutgoingTransfers::end(std::map<Key, Transfer>::iterator transfer) {
  const auto requester = transfer->first.first;
  transfers_.erase(transfer);
  const auto next = transfers_.lower_bound({requester, XCB_ATOM_NONE});
  const bool isLast = next == transfers_.end() || next->first.first != requester;
  if (isLast) listen(requester, XCB_EVENT_MASK_NO_EVENT);
}

void OutgoingTransfers::drop(xcb_window_t requester) {
  std::erase_if(transfers_, [=](const auto& each) { return each.first.first == requester; });
}

std::optional<SteadyTime> OutgoingTransfers::deadline() const {
  const auto earliest = std::ranges::min_element(
      transfers_, {}, [](const auto& each) { return each.second.deadline; });
  if (earliest == transfers_.end()) return std::nullopt;
  return earliest->second.deadline;
}

void OutgoingTransfers::expire() {
  const auto now = std::chrono::steady_clock::now();
  for (auto next = transfers_.begin(); next != transfers_.end();) {
    const auto each = next++;
    if (each->second.deadline > now) continue;
    Log::clipboard.info("Gave up handing content over: its requester stopped reading");
    end(each);
  }
}

}  // namespace stowboard
