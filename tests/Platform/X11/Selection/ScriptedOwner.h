#pragma once

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Platform/X11/X11Connection.h"

namespace stowboard {

/// One target as an owner serves it.
struct OfferedFormat {
  std::string target;
  std::string bytes;
  /// The type that the answer claims; the target's name when empty.
  std::string type = {};
  int format = 8;
  /// Listed, but refused when asked for.
  bool isRefused = false;
};

/// What an owner of the clipboard does with those who ask.
struct OwnerScript {
  std::vector<OfferedFormat> formats;
  /// Above 0: transfers are incremental, in chunks of this size.
  std::size_t chunkSize = 0;
  bool refusesTargets = false;
  /// So many answers apart from that to TARGETS are refusals.
  int refusals = 0;
  /// Requests for these are only answered by release().
  std::set<std::string> heldTargets = {};

  enum class Fault { none, stopsAfterOneChunk, diesAfterOneChunk, neverEnds, onlyEmptyChunks };
  Fault fault = Fault::none;
  /// Closes the connection of whoever asks.
  bool killsRequestor = false;
};

/// An owner's word that it has answered a request; no property stands for a refusal.
inline void notify(xcb_connection_t* connection, const xcb_selection_request_event_t& request,
                   xcb_atom_t property) {
  xcb_selection_notify_event_t event{};
  event.response_type = XCB_SELECTION_NOTIFY;
  event.time = request.time;
  event.requestor = request.requestor;
  event.selection = request.selection;
  event.target = request.target;
  event.property = property;
  xcb_send_event(connection, 0, request.requestor, 0, reinterpret_cast<const char*>(&event));
}

/// Another program that owns the CLIPBOARD: an X client of its own on a thread of its own.
class ScriptedOwner {
 public:
  explicit ScriptedOwner(OwnerScript script) : script_(std::move(script)) {
    if (!connection_) std::abort();
    take();
    thread_ = std::thread([this] { run(); });
  }

  ~ScriptedOwner() {
    isEnding_ = true;
    eventfd_write(wakeUp_, 1);
    thread_.join();
    // As XCloseDisplay does: the server throws away what it has not read when a client hangs up.
    if (!hasDied_) std::free(xcb_get_input_focus_reply(xcb(), xcb_get_input_focus(xcb()), nullptr));
    close(wakeUp_);
  }

  /// Takes the clipboard (once more); returns when the server has seen to it.
  void take() { setOwner(window_); }
  void giveUp() { setOwner(XCB_NONE); }

  /// Answers the requests that were held back, and holds none any more.
  void release() {
    isReleased_ = true;
    eventfd_write(wakeUp_, 1);
  }

  /// The targets asked for so far.
  std::vector<std::string> requests() const {
    const std::lock_guard lock(mutex_);
    return requests_;
  }
  bool wasAskedFor(const std::string& target) const {
    return std::ranges::count(requests(), target) > 0;
  }
  /// X errors that would have ended an ordinary program.
  int errors() const { return errors_; }
  /// Everything that was asked for has been answered, to the last chunk.
  bool isIdle() const { return isIdle_; }

 private:
  struct Transfer {
    std::string_view rest;
    xcb_atom_t type;
    int chunks = 0;
  };
  using Key = std::pair<xcb_window_t, xcb_atom_t>;

  xcb_connection_t* xcb() const { return connection_->xcb(); }

  void setOwner(xcb_window_t owner) {
    xcb_set_selection_owner(xcb(), owner, clipboard_, XCB_CURRENT_TIME);
    awaitReply(xcb_get_selection_owner_reply, xcb(), xcb_get_selection_owner(xcb(), clipboard_));
    // The wait may have read requests into xcb's queue behind the back of the thread's poll().
    eventfd_write(wakeUp_, 1);
  }

  void run() {
    while (!isEnding_ && !hasDied_) {
      // Before the events are looked at: a flush can read some into xcb's queue.
      xcb_flush(xcb());
      bool didAnything = isReleased_ && !held_.empty();
      if (isReleased_) {
        for (const auto& request : std::exchange(held_, {})) answer(request);
      }
      while (const auto event = hasDied_ ? nullptr : connection_->nextEvent()) {
        handle(*event);
        didAnything = true;
      }
      if (!didAnything) sleep();
    }
  }

  void sleep() {
    isIdle_ = transfers_.empty() && held_.empty();
    pollfd sources[] = {{connection_->fileDescriptor(), POLLIN, 0}, {wakeUp_, POLLIN, 0}};
    poll(sources, 2, -1);
    eventfd_t ignored = 0;
    if ((sources[1].revents & POLLIN) != 0) eventfd_read(wakeUp_, &ignored);
  }

  void handle(const xcb_generic_event_t& event) {
    isIdle_ = false;
    const int type = event.response_type & 0x7F;
    if (type == 0) ++errors_;
    if (type == XCB_SELECTION_REQUEST) {
      consider(reinterpret_cast<const xcb_selection_request_event_t&>(event));
    } else if (type == XCB_PROPERTY_NOTIFY) {
      const auto& change = reinterpret_cast<const xcb_property_notify_event_t&>(event);
      if (change.state == XCB_PROPERTY_DELETE) sendChunk({change.window, change.atom});
    }
  }

  void consider(const xcb_selection_request_event_t& request) {
    const auto target = connection_->atomNames({request.target}).at(0);
    {
      const std::lock_guard lock(mutex_);
      requests_.push_back(target);
    }
    if (script_.killsRequestor) {
      xcb_kill_client(xcb(), request.requestor);
    } else if (script_.heldTargets.contains(target) && !isReleased_) {
      held_.push_back(request);
    } else {
      answer(request);
    }
  }

  void answer(const xcb_selection_request_event_t& request) {
    notify(xcb(), request, write(request) ? request.property : xcb_atom_t{XCB_ATOM_NONE});
  }

  bool write(const xcb_selection_request_event_t& request) {
    std::vector<xcb_atom_t> list{targets_};
    for (const auto& format : script_.formats) {
      list.push_back(connection_->atom(format.target));
      if (list.back() == request.target) return writeFormat(request, format);
    }
    if (request.target != targets_ || script_.refusesTargets) return false;
    put({request.requestor, request.property}, {XCB_ATOM_ATOM, 32}, list.data(), list.size());
    return true;
  }

  bool writeFormat(const xcb_selection_request_event_t& request, const OfferedFormat& format) {
    if (format.isRefused || refusals_-- > 0) return false;
    const auto type = format.type.empty() ? request.target : connection_->atom(format.type);
    const Key key{request.requestor, request.property};
    if (script_.chunkSize == 0) {
      const auto elements = format.bytes.size() / static_cast<std::size_t>(format.format / 8);
      put(key, {type, format.format}, format.bytes.data(), elements);
      return true;
    }
    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(xcb(), request.requestor, XCB_CW_EVENT_MASK, &mask);
    // A lower bound, says the protocol: readers must not rely on it.
    const std::uint32_t declaredSize = 1;
    transfers_[key] = {format.bytes, type};
    put(key, {connection_->atom("INCR"), 32}, &declaredSize, 1);
    return true;
  }

  void sendChunk(Key key) {
    using Fault = OwnerScript::Fault;
    const auto found = transfers_.find(key);
    if (found == transfers_.end()) return deselect(key);
    auto& [rest, type, chunks] = found->second;
    const bool hasSentOne = chunks++ > 0;
    if (hasSentOne && script_.fault == Fault::stopsAfterOneChunk) return;
    if (hasSentOne && script_.fault == Fault::diesAfterOneChunk) return die();
    const auto size =
        script_.fault == Fault::onlyEmptyChunks ? 0 : std::min(script_.chunkSize, rest.size());
    const bool isEnd = size == 0 && script_.fault == Fault::none;
    // An owner may end with an empty chunk of any kind, when there was another before.
    put(key, isEnd && hasSentOne ? PropertyKind{XCB_ATOM_INTEGER, 32} : PropertyKind{type, 8},
        rest.data(), size);
    if (script_.fault == Fault::neverEnds) return;
    rest.remove_prefix(size);
    if (isEnd) transfers_.erase(found);
  }

  // When the last chunk has been read, as toolkits do.
  void deselect(Key key) {
    const std::uint32_t noEvents = XCB_EVENT_MASK_NO_EVENT;
    xcb_change_window_attributes(xcb(), key.first, XCB_CW_EVENT_MASK, &noEvents);
  }

  void die() {
    hasDied_ = true;
    connection_.reset();
  }

  void put(Key key, PropertyKind kind, const void* data, std::size_t elements) {
    xcb_change_property(xcb(), XCB_PROP_MODE_REPLACE, key.first, key.second, kind.type,
                        static_cast<std::uint8_t>(kind.format),
                        static_cast<std::uint32_t>(elements), data);
  }

  const OwnerScript script_;
  std::unique_ptr<X11Connection> connection_ = X11Connection::open({});
  const int wakeUp_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  const xcb_window_t window_ = connection_->createWindow(0);
  const xcb_atom_t clipboard_ = connection_->atom("CLIPBOARD");
  const xcb_atom_t targets_ = connection_->atom("TARGETS");
  int refusals_ = script_.refusals;
  std::map<Key, Transfer> transfers_;
  std::vector<xcb_selection_request_event_t> held_;
  mutable std::mutex mutex_;
  std::vector<std::string> requests_;
  std::atomic<int> errors_ = 0;
  std::atomic<bool> isEnding_ = false;
  std::atomic<bool> isReleased_ = false;
  std::atomic<bool> isIdle_ = false;
  std::atomic<bool> hasDied_ = false;
  std::thread thread_;
};

}  // namespace stowboard
