#pragma once

#include <poll.h>

#include <chrono>
#include <cstring>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "Platform/X11/X11Connection.h"

namespace stowboard {

/// What a requester found in its property.
struct Answer {
  std::string type;
  std::string bytes;
  bool wasIncremental = false;
  friend bool operator==(const Answer& left, const Answer& right) {
    return left.type == right.type && left.bytes == right.bytes;
  }
};

inline void PrintTo(const Answer& answer, std::ostream* out) {
  *out << answer.type << " of " << answer.bytes.size() << " bytes: " << answer.bytes.substr(0, 40);
}

/// Another program that asks for selections: an X client of its own, used on one thread. Waits ten
/// seconds at most for anything.
class ScriptedRequester {
 public:
  xcb_connection_t* xcb() const { return connection_->xcb(); }
  xcb_window_t window() const { return window_; }
  xcb_atom_t atom(const std::string& name) const {
    return name.empty() ? xcb_atom_t{XCB_ATOM_NONE} : connection_->atom(name);
  }

  xcb_window_t ownerOf(const std::string& selection) const {
    const auto cookie = xcb_get_selection_owner(xcb(), atom(selection));
    const XcbPointer<xcb_get_selection_owner_reply_t> reply(
        xcb_get_selection_owner_reply(xcb(), cookie, nullptr));
    return reply->owner;
  }
  /// Takes a selection, without serving it, or gives it up.
  void own(const std::string& selection, bool takes = true) const {
    xcb_set_selection_owner(xcb(), takes ? window_ : xcb_window_t{XCB_NONE}, atom(selection),
                            XCB_CURRENT_TIME);
    ownerOf(selection);
  }

  void ask(const std::string& target, const std::string& property = "ANSWER",
           const std::string& selection = "CLIPBOARD", xcb_timestamp_t time = 0) const {
    xcb_convert_selection(xcb(), window_, atom(selection), atom(target), atom(property), time);
    xcb_flush(xcb());
  }

  /// The property of the answer to a request; absent for a refusal.
  std::optional<std::string> awaitAnswer() {
    const auto event =
        await<xcb_selection_notify_event_t>(XCB_SELECTION_NOTIFY, [](const auto&) { return true; });
    if (!event || event->property == XCB_ATOM_NONE) return std::nullopt;
    return connection_->atomNames({event->property}).at(0);
  }

  /// Asks, and reads the whole answer.
  std::optional<Answer> convert(const std::string& target,
                                const std::string& selection = "CLIPBOARD") {
    ask(target, "ANSWER", selection);
    return awaitAnswer() ? read("ANSWER") : std::nullopt;
  }

  std::optional<Answer> read(const std::string& property) {
    auto answer = take(property);
    if (!answer || answer->type != "INCR") return answer;
    Answer whole{{}, {}, true};
    while (const auto chunk = awaitChunk(property)) {
      whole.type = chunk->type;
      if (chunk->bytes.empty()) return whole;
      whole.bytes += chunk->bytes;
    }
    return std::nullopt;
  }

  /// Reads the property and deletes it.
  std::optional<Answer> take(const std::string& property) const {
    Answer answer;
    const auto kind = connection_->takeProperty(window_, atom(property), [&](auto, auto piece) {
      answer.bytes.append(piece);
      return true;
    });
    if (!kind) return std::nullopt;
    answer.type = connection_->atomNames({kind->type}).at(0);
    return answer;
  }

  std::optional<Answer> awaitChunk(const std::string& property) {
    const auto isNew = [wanted = atom(property)](const auto& each) {
      return each.atom == wanted && each.state == XCB_PROPERTY_NEW_VALUE;
    };
    while (await<xcb_property_notify_event_t>(XCB_PROPERTY_NOTIFY, isNew)) {
      if (auto chunk = take(property)) return chunk;
    }
    return std::nullopt;
  }

  template <typename Event, typename Condition>
  std::optional<Event> await(int type, Condition isWanted) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    xcb_flush(xcb());
    while (std::chrono::steady_clock::now() < end) {
      while (const auto event = connection_->nextEvent()) {
        const auto& typed = reinterpret_cast<const Event&>(*event);
        if ((event->response_type & 0x7F) == type && isWanted(typed)) return typed;
      }
      pollfd source{connection_->fileDescriptor(), POLLIN, 0};
      poll(&source, 1, 20);
    }
    return std::nullopt;
  }

  /// The names of the atoms that a property holds; empty for None.
  std::vector<std::string> names(const std::string& bytes) const {
    std::vector<std::string> result;
    for (std::size_t place = 0; place + 4 <= bytes.size(); place += 4) {
      xcb_atom_t each = XCB_ATOM_NONE;
      std::memcpy(&each, bytes.data() + place, sizeof each);
      result.push_back(each == XCB_ATOM_NONE ? "" : connection_->atomNames({each}).at(0));
    }
    return result;
  }

 private:
  const std::unique_ptr<X11Connection> connection_ = X11Connection::open({});
  const xcb_window_t window_ = connection_->createWindow(XCB_EVENT_MASK_PROPERTY_CHANGE);
};

}  // namespace stowboard
