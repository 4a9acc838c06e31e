#include "Platform/Portals/PortalHotKeys.h"

#include <fmt/format.h>
#include <systemd/sd-bus.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <functional>
#include <string_view>
#include <utility>
#include <vector>

#include "Base/Log.h"
#include "Platform/Desktop/BusNotifier.h"
#include "Platform/HotKeyName.h"

namespace stowboard {

namespace {

constexpr const char* portalName = "org.freedesktop.portal.Desktop";
constexpr const char* portalPath = "/org/freedesktop/portal/desktop";
constexpr const char* shortcutsInterface = "org.freedesktop.portal.GlobalShortcuts";

// For matches that are added without waiting: without a handler, the bus library closes the
// connection when the bus's answer comes too late, as to a program that was stopped for a while.
int ignoreMatchOutcome(sd_bus_message* /*answer*/, void* /*data*/, sd_bus_error* /*error*/) {
  return 0;
}

struct PortalModifier {
  std::uint32_t mask;
  std::string_view name;
};
constexpr std::array modifiers = std::to_array<PortalModifier>({{ModifierMask::control, "CTRL+"},
                                                                {ModifierMask::option, "ALT+"},
                                                                {ModifierMask::shift, "SHIFT+"},
                                                                {ModifierMask::command, "LOGO+"}});

/// As the portal is given it.
struct Shortcut {
  std::string name;
  std::string words;
  /// In the form of the XDG shortcuts specification, by the symbols of a US keyboard.
  std::string trigger;
};

std::string triggerOf(const HotKeyConfig& config) {
  std::string trigger;
  for (const auto& each : modifiers) {
    if ((config.modifiers & each.mask) != 0) trigger += each.name;
  }
  std::string symbol(HotKeyConfig::symbolName(config.keyCode).value_or(""));
  if (symbol == "`") symbol = "grave";
  if (symbol == "Space") symbol = "space";
  if (symbol.size() == 1) {
    symbol[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(symbol[0])));
  }
  return trigger + symbol;
}

// With the combination, since desktops keep the first one that was asked for under a name.
std::string lastingName(const HotKeyConfig& config, const HotKeyIdentity& identity) {
  auto name = fmt::format("{}-{}", nameOf(identity).name, triggerOf(config));
  std::ranges::replace(name, '+', '-');
  return name;
}

void appendOption(sd_bus_message* message, const char* name, const char* value) {
  sd_bus_message_append(message, "{sv}", name, "s", value);
}

void appendShortcuts(sd_bus_message* message, const std::vector<Shortcut>& shortcuts) {
  sd_bus_message_open_container(message, SD_BUS_TYPE_ARRAY, "(sa{sv})");
  for (const auto& each : shortcuts) {
    sd_bus_message_open_container(message, SD_BUS_TYPE_STRUCT, "sa{sv}");
    sd_bus_message_append(message, "s", each.name.c_str());
    sd_bus_message_open_container(message, SD_BUS_TYPE_ARRAY, "{sv}");
    appendOption(message, "description", each.words.c_str());
    appendOption(message, "preferred_trigger", each.trigger.c_str());
    sd_bus_message_close_container(message);
    sd_bus_message_close_container(message);
  }
  sd_bus_message_close_container(message);
}

}  // namespace

/// The portal, with the session that our shortcuts belong to.
class PortalHotKeys::Portal {
 public:
  Portal(PortalHotKeys& owner, std::string applicationId, sd_bus* bus)
      : owner_(owner),
        applicationId_(std::move(applicationId)),
        connection_(bus, [this](sd_bus* each) { join(each); }) {}

  void bind(std::vector<Shortcut> shortcuts) {
    close();
    shortcuts_ = std::move(shortcuts);
    const auto token = fmt::format("stowboard{}", ++requests_);
    session_ = fmt::format("{}/session/{}/{}", portalPath, sender_, token);
    state_ = State::creating;
    expect(token);
    auto* const message = call(shortcutsInterface, "CreateSession");
    sd_bus_message_open_container(message, SD_BUS_TYPE_ARRAY, "{sv}");
    appendOption(message, "handle_token", token.c_str());
    appendOption(message, "session_handle_token", token.c_str());
    sd_bus_message_close_container(message);
    send(message);
  }

  void close() {
    if (session_.empty()) return;
    sd_bus_call_method_async(bus_, nullptr, portalName, session_.c_str(),
                             "org.freedesktop.portal.Session", "Close", ignoreMatchOutcome, nullptr,
                             "");
    session_.clear();
    state_ = State::idle;
    connection_.processSoon();
  }

 private:
  enum class State { idle, creating, binding, listing };

  void join(sd_bus* bus) {
    bus_ = bus;
    session_.clear();
    const char* name = "";
    sd_bus_get_unique_name(bus_, &name);
    sender_ = std::string(name).substr(1);
    std::ranges::replace(sender_, '.', '_');
    sd_bus_match_signal_async(bus_, nullptr, portalName, portalPath, shortcutsInterface, nullptr,
                              onSignal, ignoreMatchOutcome, this);
    // Programs outside of a sandbox say who they are. A portal that does not know this asks nobody.
    auto* const message = call("org.freedesktop.host.portal.Registry", "Register");
    sd_bus_message_append(message, "sa{sv}", applicationId_.c_str(), 0);
    send(message);
    if (joined_++ > 0) owner_.askSoon();
  }

  sd_bus_message* call(const char* interface, const char* method) const {
    sd_bus_message* message = nullptr;
    sd_bus_message_new_method_call(bus_, &message, portalName, portalPath, interface, method);
    return message;
  }
  /// Takes the message over.
  void send(sd_bus_message* message) {
    sd_bus_call_async(bus_, nullptr, message, onAnswer, this, 0);
    sd_bus_message_unref(message);
    connection_.processSoon();
  }

  void expect(const std::string& token) {
    const auto path = fmt::format("{}/request/{}/{}", portalPath, sender_, token);
    sd_bus_slot* slot = nullptr;
    sd_bus_match_signal_async(bus_, &slot, portalName, path.c_str(),
                              "org.freedesktop.portal.Request", "Response", onResponse,
                              ignoreMatchOutcome, this);
    response_.reset(slot);
  }

  void bindNow() {
    const auto token = fmt::format("stowboard{}", ++requests_);
    state_ = State::binding;
    expect(token);
    auto* const message = call(shortcutsInterface, "BindShortcuts");
    sd_bus_message_append(message, "o", session_.c_str());
    appendShortcuts(message, shortcuts_);
    sd_bus_message_append(message, "s", "");
    sd_bus_message_open_container(message, SD_BUS_TYPE_ARRAY, "{sv}");
    appendOption(message, "handle_token", token.c_str());
    sd_bus_message_close_container(message);
    send(message);
  }

  void list() {
    const auto token = fmt::format("stowboard{}", ++requests_);
    state_ = State::listing;
    expect(token);
    auto* const message = call(shortcutsInterface, "ListShortcuts");
    sd_bus_message_append(message, "o", session_.c_str());
    sd_bus_message_open_container(message, SD_BUS_TYPE_ARRAY, "{sv}");
    appendOption(message, "handle_token", token.c_str());
    sd_bus_message_close_container(message);
    send(message);
  }

  static int onAnswer(sd_bus_message* answer, void* data, sd_bus_error* /*error*/) {
    auto* const self = static_cast<Portal*>(data);
    if (sd_bus_message_is_method_error(answer, nullptr) <= 0 || self->state_ == State::idle) {
      return 0;
    }
    Log::hotKey.error("The desktop portal gives no hot keys: {}",
                      sd_bus_message_get_error(answer)->message);
    self->state_ = State::idle;
    return 0;
  }

  static int onResponse(sd_bus_message* message, void* data, sd_bus_error* /*error*/) {
    auto* const self = static_cast<Portal*>(data);
    std::uint32_t code = 0;
    sd_bus_message_read_basic(message, SD_BUS_TYPE_UINT32, &code);
    const auto state = std::exchange(self->state_, State::idle);
    if (state == State::creating && code == 0) {
      self->bindNow();
    } else if (state == State::binding) {
      // Some portals call it a failure (2) although it was none.
      self->list();
    } else if (state == State::listing && hasShortcuts(message)) {
      self->owner_.didBind();
    } else if (state != State::idle) {
      Log::hotKey.error("The desktop portal gives no hot keys: they were not allowed");
    }
    return 0;
  }

  // Among the results, a{sv}, the list of what is bound.
  static bool hasShortcuts(sd_bus_message* message) {
    bool areThere = false;
    sd_bus_message_enter_container(message, SD_BUS_TYPE_ARRAY, "{sv}");
    while (sd_bus_message_enter_container(message, SD_BUS_TYPE_DICT_ENTRY, "sv") > 0) {
      const char* name = "";
      sd_bus_message_read_basic(message, SD_BUS_TYPE_STRING, &name);
      if (std::string_view(name) == "shortcuts" &&
          sd_bus_message_enter_container(message, SD_BUS_TYPE_VARIANT, "a(sa{sv})") > 0) {
        sd_bus_message_enter_container(message, SD_BUS_TYPE_ARRAY, "(sa{sv})");
        areThere = sd_bus_message_at_end(message, 0) == 0;
        break;
      }
      sd_bus_message_skip(message, "v");
      sd_bus_message_exit_container(message);
    }
    return areThere;
  }

  static int onSignal(sd_bus_message* message, void* data, sd_bus_error* /*error*/) {
    auto* const self = static_cast<Portal*>(data);
    const bool isPress = sd_bus_message_is_signal(message, nullptr, "Activated") > 0;
    const bool isRelease = sd_bus_message_is_signal(message, nullptr, "Deactivated") > 0;
    const char* session = "";
    const char* name = "";
    if ((!isPress && !isRelease) || sd_bus_message_read(message, "os", &session, &name) < 0 ||
        self->session_ != session) {
      return 0;
    }
    if (self->isFirst(name, isPress)) self->owner_.press(name);
    return 0;
  }

  // Some desktops tell of the repeats of a held key, too, and of its release only while the
  // modifiers are still down.
  bool isFirst(const std::string& name, bool isPress) {
    const auto now = std::chrono::steady_clock::now();
    const bool isRepeat = held_ == name && now - heldAt_ < longestRepeat;
    held_ = isPress ? name : std::string();
    heldAt_ = now;
    return isPress && !isRepeat;
  }

  struct Unref {
    void operator()(sd_bus_slot* slot) const { sd_bus_slot_unref(slot); }
  };

  PortalHotKeys& owner_;
  const std::string applicationId_;
  sd_bus* bus_ = nullptr;
  std::string sender_;
  std::string session_;
  std::vector<Shortcut> shortcuts_;
  State state_ = State::idle;
  int requests_ = 0;
  static constexpr std::chrono::milliseconds longestRepeat{700};
  std::string held_;
  std::chrono::steady_clock::time_point heldAt_{};
  int joined_ = 0;
  LastingBus connection_;
  // Goes before the connection.
  std::unique_ptr<sd_bus_slot, Unref> response_;
};

std::unique_ptr<PortalHotKeys> PortalHotKeys::create(const std::string& applicationId,
                                                     RunLoop& loop,
                                                     std::unique_ptr<HotKeyCenter> otherwise) {
  std::unique_ptr<PortalHotKeys> hotKeys(new PortalHotKeys(loop, std::move(otherwise)));
  sd_bus* bus = nullptr;
  if (sd_bus_open_user(&bus) >= 0) {
    hotKeys->portal_ = std::make_unique<Portal>(*hotKeys, applicationId, bus);
  }
  return hotKeys;
}

PortalHotKeys::PortalHotKeys(RunLoop& loop, std::unique_ptr<HotKeyCenter> otherwise)
    : loop_(loop), otherwise_(std::move(otherwise)) {}

PortalHotKeys::~PortalHotKeys() = default;

HotKeyCenter::Status PortalHotKeys::installEventHandler(Handler handler) {
  handler_ = std::move(handler);
  return otherwise_->installEventHandler(handler_);
}

HotKeyCenter::Registration PortalHotKeys::registerHotKey(const HotKeyConfig& config,
                                                         const HotKeyIdentity& identity) {
  HotKey hotKey{config, identity};
  if (!isBound_) {
    const auto [status, reference] = otherwise_->registerHotKey(config, identity);
    if (status != noError) return {status, 0};
    hotKey.otherwise = reference;
  }
  hotKeys_.emplace(++lastReference_, hotKey);
  askSoon();
  return {noError, lastReference_};
}

void PortalHotKeys::unregisterHotKey(Reference reference) {
  const auto record = hotKeys_.extract(reference);
  if (!record) return;
  if (record.mapped().otherwise != 0) otherwise_->unregisterHotKey(record.mapped().otherwise);
  askSoon();
  if (!hotKeys_.empty() || !portal_) return;
  // Another may want the same keys now.
  portal_->close();
  isBound_ = false;
}

void PortalHotKeys::askSoon() {
  loop_.postAfter(asksAfter, [change = ++changes_, self = std::weak_ptr(self_)] {
    const auto hotKeys = self.lock();
    if (hotKeys && (*hotKeys)->changes_ == change) (*hotKeys)->ask();
  });
}

void PortalHotKeys::ask() {
  if (!portal_ || hotKeys_.empty()) return;
  std::vector<Shortcut> shortcuts;
  for (const auto& [reference, hotKey] : hotKeys_) {
    shortcuts.push_back({lastingName(hotKey.config, hotKey.identity), nameOf(hotKey.identity).words,
                         triggerOf(hotKey.config)});
  }
  portal_->bind(std::move(shortcuts));
}

void PortalHotKeys::didBind() {
  if (!std::exchange(isBound_, true)) {
    Log::hotKey.info("The desktop portal gives the hot keys; its settings tell which they are");
  }
  for (auto& [reference, hotKey] : hotKeys_) {
    if (hotKey.otherwise != 0) otherwise_->unregisterHotKey(std::exchange(hotKey.otherwise, 0));
  }
}

void PortalHotKeys::press(const std::string& name) {
  const auto found = std::ranges::find_if(hotKeys_, [&](const auto& each) {
    return lastingName(each.second.config, each.second.identity) == name;
  });
  if (found == hotKeys_.end() || !handler_) return;
  // Copies, because the handler may end the registration.
  const auto identity = found->second.identity;
  const auto handler = handler_;
  handler(identity);
}

void PortalHotKeys::holdTyping() {
  if (!isBound_) otherwise_->holdTyping();
}

void PortalHotKeys::releaseTyping() { otherwise_->releaseTyping(); }

bool PortalHotKeys::pressInWindow(std::uint32_t xkbKey, std::uint32_t modifiers) {
  return !isBound_ && otherwise_->pressInWindow(xkbKey, modifiers);
}

}  // namespace stowboard
