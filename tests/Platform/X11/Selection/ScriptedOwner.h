#pragma once

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

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
  /// Requests for these are only answered by release().
  std::set<std::string> heldTargets = {};

  enum class Fault { none, stopsAfterOneChunk, diesAfterOneChunk, neverEnds, onlyEmptyChunks };
  Fault fault = Fault::none;
  /// Closes the connection of whoever asks.
  bool killsRequestor = false;
};

/// Another program that owns the CLIPBOARD: an X client of its own on a thread of its own.
class ScriptedOwner {
 public:
  explicit ScriptedOwner(OwnerScript script)
      : script_(std::move(script)), connection_(xcb_connect(nullptr, nullptr)) {
    if (xcb_connection_has_error(connection_) != 0) std::abort();
    const auto* screen = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
    window_ = xcb_generate_id(connection_);
    xcb_create_window(connection_, 0, window_, screen->root, 0, 0, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
    clipboard_ = atom("CLIPBOARD");
    targets_ = atom("TARGETS");
    incr_ = atom("INCR");
    for (const auto& format : script_.formats) atom(format.target), atom(format.type);
    take();
    thread_ = std::thread([this] { run(); });
  }

  ~ScriptedOwner() {
    isEnding_ = true;
    eventfd_write(wakeUp_, 1);
    thread_.join();
    if (!hasDied_) disconnect();
    close(wakeUp_);
  }

  /// Takes the clipboard (once more); returns when the server has seen to it.
  void take() {
    xcb_set_selection_owner(connection_, window_, clipboard_, XCB_CURRENT_TIME);
    const auto cookie = xcb_get_selection_owner(connection_, clipboard_);
    std::free(xcb_get_selection_owner_reply(connection_, cookie, nullptr));
    // The wait may have read requests into xcb's queue behind the back of the thread's poll().
    eventfd_write(wakeUp_, 1);
  }

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

  xcb_atom_t atom(const std::string& name) {
    if (name.empty()) return XCB_ATOM_NONE;
    if (const auto known = atoms_.find(name); known != atoms_.end()) return known->second;
    const auto cookie =
        xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(name.size()), name.data());
    const std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> reply(
        xcb_intern_atom_reply(connection_, cookie, nullptr), &std::free);
    return atoms_[name] = reply->atom;
  }

  // As XCloseDisplay does: the server throws away what it has not read when a client hangs up.
  void disconnect() {
    std::free(xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
    xcb_disconnect(connection_);
  }

  void run() {
    while (!isEnding_ && !hasDied_) {
      // Before the events are looked at: a flush can read some into xcb's queue.
      xcb_flush(connection_);
      bool didAnything = isReleased_ && !held_.empty();
      if (isReleased_) answerHeld();
      while (auto* event = hasDied_ ? nullptr : xcb_poll_for_event(connection_)) {
        handle(*event);
        std::free(event);
        didAnything = true;
      }
      if (!didAnything) sleep();
    }
  }

  void sleep() {
    isIdle_ = transfers_.empty() && held_.empty();
    pollfd sources[] = {{xcb_get_file_descriptor(connection_), POLLIN, 0}, {wakeUp_, POLLIN, 0}};
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
    const auto name =
        std::ranges::find(atoms_, request.target, [](auto& each) { return each.second; });
    const std::string target = name == atoms_.end() ? "?" : name->first;
    {
      const std::lock_guard lock(mutex_);
      requests_.push_back(target);
    }
    if (script_.killsRequestor) {
      xcb_kill_client(connection_, request.requestor);
    } else if (script_.heldTargets.contains(target) && !isReleased_) {
      held_.push_back(request);
    } else {
      answer(request);
    }
  }

  void answerHeld() {
    for (const auto& request : std::exchange(held_, {})) answer(request);
  }

  void answer(const xcb_selection_request_event_t& request) {
    xcb_selection_notify_event_t notify{};
    notify.response_type = XCB_SELECTION_NOTIFY;
    notify.time = request.time;
    notify.requestor = request.requestor;
    notify.selection = request.selection;
    notify.target = request.target;
    if (write(request)) notify.property = request.property;
    xcb_send_event(connection_, 0, request.requestor, 0, reinterpret_cast<const char*>(&notify));
  }

  bool write(const xcb_selection_request_event_t& request) {
    if (request.target == targets_) return !script_.refusesTargets && writeTargets(request);
    for (const auto& format : script_.formats) {
      if (atom(format.target) == request.target) return writeFormat(request, format);
    }
    return false;
  }

  bool writeTargets(const xcb_selection_request_event_t& request) {
    std::vector<xcb_atom_t> list{targets_};
    for (const auto& format : script_.formats) list.push_back(atom(format.target));
    put(request.requestor, request.property, XCB_ATOM_ATOM, 32, list.data(), list.size());
    return true;
  }

  bool writeFormat(const xcb_selection_request_event_t& request, const OfferedFormat& format) {
    if (format.isRefused) return false;
    const auto type = format.type.empty() ? request.target : atom(format.type);
    if (script_.chunkSize == 0) {
      const auto elements = format.bytes.size() / static_cast<std::size_t>(format.format / 8);
      put(request.requestor, request.property, type, format.format, format.bytes.data(), elements);
      return true;
    }
    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(connection_, request.requestor, XCB_CW_EVENT_MASK, &mask);
    // A lower bound, says the protocol: readers must not rely on it.
    const std::uint32_t declaredSize = 1;
    transfers_[{request.requestor, request.property}] = {format.bytes, type};
    put(request.requestor, request.property, incr_, 32, &declaredSize, 1);
    return true;
  }

  void sendChunk(Key key) {
    using Fault = OwnerScript::Fault;
    const auto found = transfers_.find(key);
    if (found == transfers_.end()) return;
    auto& [rest, type, chunks] = found->second;
    const bool hasSentOne = chunks++ > 0;
    if (hasSentOne && script_.fault == Fault::stopsAfterOneChunk) return;
    if (hasSentOne && script_.fault == Fault::diesAfterOneChunk) return die();
    const auto size =
        script_.fault == Fault::onlyEmptyChunks ? 0 : std::min(script_.chunkSize, rest.size());
    put(key.first, key.second, type, 8, rest.data(), size);
    if (script_.fault == Fault::neverEnds) return;
    rest.remove_prefix(size);
    if (size == 0 && script_.fault == Fault::none) transfers_.erase(found);
  }

  void die() {
    hasDied_ = true;
    xcb_disconnect(connection_);
  }

  void put(xcb_window_t window, xcb_atom_t property, xcb_atom_t type, int format, const void* data,
           std::size_t elements) {
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window, property, type,
                        static_cast<std::uint8_t>(format), static_cast<std::uint32_t>(elements),
                        data);
  }

  const OwnerScript script_;
  xcb_connection_t* const connection_;
  const int wakeUp_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  xcb_window_t window_ = XCB_NONE;
  xcb_atom_t clipboard_ = XCB_NONE;
  xcb_atom_t targets_ = XCB_NONE;
  xcb_atom_t incr_ = XCB_NONE;
  std::map<std::string, xcb_atom_t> atoms_;
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
