#pragma once

#include <poll.h>
#include <xcb/xcb.h>

#include <chrono>
#include <cstdlib>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

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
  ScriptedRequester() : connection_(xcb_connect(nullptr, nullptr)) {
    if (xcb_connection_has_error(connection_) != 0) std::abort();
    const auto* screen = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
    const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    window_ = xcb_generate_id(connection_);
    xcb_create_window(connection_, 0, window_, screen->root, 0, 0, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK,
                      &events);
  }
  ~ScriptedRequester() { xcb_disconnect(connection_); }
  ScriptedRequester(const ScriptedRequester&) = delete;
  ScriptedRequester& operator=(const ScriptedRequester&) = delete;

  xcb_connection_t* xcb() const { return connection_; }
  xcb_window_t window() const { return window_; }

  xcb_atom_t atom(const std::string& name) const {
    const auto cookie =
        xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(name.size()), name.data());
    return owned(xcb_intern_atom_reply(connection_, cookie, nullptr))->atom;
  }
  std::string name(xcb_atom_t atom) const {
    const auto reply =
        owned(xcb_get_atom_name_reply(connection_, xcb_get_atom_name(connection_, atom), nullptr));
    return {xcb_get_atom_name_name(reply.get()),
            static_cast<std::size_t>(xcb_get_atom_name_name_length(reply.get()))};
  }

  xcb_window_t ownerOf(const std::string& selection) const {
    const auto cookie = xcb_get_selection_owner(connection_, atom(selection));
    return owned(xcb_get_selection_owner_reply(connection_, cookie, nullptr))->owner;
  }
  /// Takes a selection, without serving it, or gives it up.
  void own(const std::string& selection, bool takes = true) const {
    xcb_set_selection_owner(connection_, takes ? window_ : xcb_window_t{XCB_NONE}, atom(selection),
                            XCB_CURRENT_TIME);
    ownerOf(selection);
  }

  void ask(const std::string& selection, const std::string& target, const std::string& property,
           xcb_timestamp_t time = XCB_CURRENT_TIME) const {
    xcb_convert_selection(connection_, window_, atom(selection), atom(target),
                          property.empty() ? xcb_atom_t{XCB_ATOM_NONE} : atom(property), time);
    xcb_flush(connection_);
  }

  /// The property of the answer to a request; absent for a refusal.
  std::optional<std::string> awaitAnswer() {
    const auto event =
        await<xcb_selection_notify_event_t>(XCB_SELECTION_NOTIFY, [](const auto&) { return true; });
    if (!event || event->property == XCB_ATOM_NONE) return std::nullopt;
    return name(event->property);
  }

  /// Asks, and reads the whole answer in pieces of `pieceSize`.
  std::optional<Answer> convert(const std::string& target,
                                const std::string& selection = "CLIPBOARD",
                                std::uint32_t pieceSize = 1 << 20) {
    ask(selection, target, "ANSWER");
    if (!awaitAnswer()) return std::nullopt;
    return read("ANSWER", pieceSize);
  }

  std::optional<Answer> read(const std::string& property, std::uint32_t pieceSize = 1 << 20) {
    auto answer = take(property, pieceSize);
    if (!answer || answer->type != "INCR") return answer;
    Answer whole{{}, {}, true};
    for (;;) {
      const auto chunk = awaitChunk(property, pieceSize);
      if (!chunk) return std::nullopt;
      whole.type = chunk->type;
      if (chunk->bytes.empty()) return whole;
      whole.bytes += chunk->bytes;
    }
  }

  /// Reads the property and deletes it.
  std::optional<Answer> take(const std::string& property, std::uint32_t pieceSize = 1 << 20) const {
    Answer answer;
    for (;;) {
      const auto offset = static_cast<std::uint32_t>(answer.bytes.size() / 4);
      const auto cookie = xcb_get_property(connection_, 1, window_, atom(property),
                                           XCB_GET_PROPERTY_TYPE_ANY, offset, pieceSize / 4);
      const auto reply = owned(xcb_get_property_reply(connection_, cookie, nullptr));
      if (reply->type == XCB_ATOM_NONE) return std::nullopt;
      answer.type = name(reply->type);
      answer.bytes.append(static_cast<const char*>(xcb_get_property_value(reply.get())),
                          static_cast<std::size_t>(xcb_get_property_value_length(reply.get())));
      if (reply->bytes_after == 0) return answer;
    }
  }

  std::optional<Answer> awaitChunk(const std::string& property, std::uint32_t pieceSize = 1 << 20) {
    const auto wanted = atom(property);
    for (;;) {
      const auto event =
          await<xcb_property_notify_event_t>(XCB_PROPERTY_NOTIFY, [wanted](const auto& each) {
            return each.atom == wanted && each.state == XCB_PROPERTY_NEW_VALUE;
          });
      if (!event) return std::nullopt;
      if (auto chunk = take(property, pieceSize)) return chunk;
    }
  }

  template <typename Event, typename Condition>
  std::optional<Event> await(int type, Condition isWanted) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    xcb_flush(connection_);
    while (std::chrono::steady_clock::now() < end) {
      while (const auto event = owned(xcb_poll_for_event(connection_))) {
        const auto& typed = reinterpret_cast<const Event&>(*event);
        if ((event->response_type & 0x7F) == type && isWanted(typed)) return typed;
      }
      pollfd source{xcb_get_file_descriptor(connection_), POLLIN, 0};
      poll(&source, 1, 20);
    }
    return std::nullopt;
  }

  std::vector<xcb_atom_t> atoms(const std::vector<std::string>& names) const {
    std::vector<xcb_atom_t> result;
    for (const auto& each : names)
      result.push_back(each.empty() ? xcb_atom_t{XCB_ATOM_NONE} : atom(each));
    return result;
  }
  std::vector<std::string> names(const std::string& bytes) const {
    std::vector<std::string> result;
    for (std::size_t place = 0; place + 4 <= bytes.size(); place += 4) {
      const auto each = *reinterpret_cast<const xcb_atom_t*>(bytes.data() + place);
      result.push_back(each == XCB_ATOM_NONE ? "" : name(each));
    }
    return result;
  }

 private:
  template <typename Message>
  static std::unique_ptr<Message, decltype(&std::free)> owned(Message* message) {
    return {message, &std::free};
  }

  xcb_connection_t* const connection_;
  xcb_window_t window_ = XCB_NONE;
};

}  // namespace stowboard
