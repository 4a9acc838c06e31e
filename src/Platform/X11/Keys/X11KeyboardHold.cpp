#include "Platform/X11/Keys/X11KeyboardHold.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>
#include <utility>

namespace stowboard {

namespace {

constexpr std::uint32_t limitMilliseconds = 250;

void start(xcb_connection_t* connection) {
  xcb_discard_reply(connection, xcb_sync_initialize(connection, 3, 0).sequence);
}

// Each counter takes 14 bytes, its name, and what fills them up to whole words (SYNC
// protocol, 3.1); xcb's iterator takes the 14 for 16 and runs past the end.
xcb_sync_counter_t findClock(xcb_connection_t* connection) {
  constexpr std::size_t headSize = 14;
  const auto reply = awaitReply(xcb_sync_list_system_counters_reply, connection,
                                xcb_sync_list_system_counters(connection));
  if (!reply) return XCB_NONE;
  std::string_view left(reinterpret_cast<const char*>(reply.get() + 1), 4UL * reply->length);
  while (left.size() >= headSize) {
    xcb_sync_counter_t counter = XCB_NONE;
    std::uint16_t nameLength = 0;
    std::memcpy(&counter, left.data(), sizeof(counter));
    std::memcpy(&nameLength, left.data() + headSize - sizeof(nameLength), sizeof(nameLength));
    if (left.substr(headSize, nameLength) == "SERVERTIME") return counter;
    left.remove_prefix(std::min(left.size(), (headSize + nameLength + 3) / 4 * 4));
  }
  return XCB_NONE;
}

xcb_sync_waitcondition_t reaches(xcb_sync_counter_t counter, xcb_sync_valuetype_t type,
                                 std::uint32_t value) {
  xcb_sync_waitcondition_t condition{};
  condition.trigger = {counter, type, {0, value}, XCB_SYNC_TESTTYPE_POSITIVE_COMPARISON};
  return condition;
}

}  // namespace

std::unique_ptr<X11KeyboardHold> X11KeyboardHold::create(
    std::shared_ptr<X11MainConnection> holding, std::shared_ptr<X11MainConnection> ending) {
  if (!ending || findExtension(holding->xcb(), xcb_sync_id) == nullptr) return nullptr;
  start(holding->xcb());
  start(ending->xcb());
  const auto clock = findClock(ending->xcb());
  if (clock == XCB_NONE) return nullptr;
  return std::unique_ptr<X11KeyboardHold>(
      new X11KeyboardHold(std::move(holding), std::move(ending), clock));
}

X11KeyboardHold::X11KeyboardHold(std::shared_ptr<X11MainConnection> holding,
                                 std::shared_ptr<X11MainConnection> ending,
                                 xcb_sync_counter_t clock)
    : holding_(std::move(holding)),
      ending_(std::move(ending)),
      clock_(clock),
      ended_(xcb_generate_id(ending_->xcb())) {
  xcb_sync_create_counter(ending_->xcb(), ended_, {0, 0});
  xcb_flush(ending_->xcb());
}

X11KeyboardHold::~X11KeyboardHold() {
  // A wait ends with its counter.
  xcb_sync_destroy_counter(ending_->xcb(), ended_);
  xcb_flush(ending_->xcb());
}

void X11KeyboardHold::begin() {
  auto* xcb = holding_->xcb();
  isHeld_ = true;
  ++begun_;
  xcb_discard_reply(xcb, xcb_grab_keyboard(xcb, 0, holding_->root(), XCB_CURRENT_TIME,
                                           XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_SYNC)
                             .sequence);
  // The server looks at its clock for this; the wait counts from what it saw last.
  xcb_discard_reply(xcb, xcb_sync_query_counter(xcb, clock_).sequence);
  const std::array until{reaches(clock_, XCB_SYNC_VALUETYPE_RELATIVE, limitMilliseconds),
                         reaches(ended_, XCB_SYNC_VALUETYPE_ABSOLUTE, begun_)};
  xcb_sync_await(xcb, until.size(), until.data());
  xcb_ungrab_keyboard(xcb, XCB_CURRENT_TIME);
  xcb_flush(xcb);
}

void X11KeyboardHold::end() {
  if (!std::exchange(isHeld_, false)) return;
  xcb_sync_set_counter(ending_->xcb(), ended_, {0, begun_});
  xcb_flush(ending_->xcb());
}

}  // namespace stowboard
