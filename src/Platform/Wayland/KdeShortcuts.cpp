#include "Platform/Wayland/KdeShortcuts.h"

#include <fmt/format.h>
#include <systemd/sd-bus.h>

#include <array>
#include <chrono>
#include <string_view>
#include <utility>

#include "Platform/Desktop/BusNotifier.h"

namespace stowboard {

namespace {

constexpr const char* service = "org.kde.kglobalaccel";
constexpr const char* servicePath = "/kglobalaccel";
constexpr const char* serviceInterface = "org.kde.KGlobalAccel";
constexpr const char* presses =
    "type='signal',sender='org.kde.kglobalaccel',interface='org.kde.kglobalaccel.Component'";

// What names begin with that are neither shown nor kept.
constexpr std::string_view unlisted = "_k_session:";

// How the service is to take keys.
constexpr std::uint32_t inUse = 2;
constexpr std::uint32_t whateverTheUserChose = 4;
constexpr std::uint32_t asDefault = 8;

// The compositor itself answers; no person waits longer for a program's start.
constexpr std::uint64_t longestWait = 250'000;
// A held key is told of again in shorter steps than this, whatever the user's settings.
constexpr std::int64_t longestRepeat = 1500;

struct QtModifier {
  std::uint32_t mask;
  KdeShortcuts::Key bit;
};
constexpr std::array qtModifiers = std::to_array<QtModifier>({{ModifierMask::shift, 0x02000000},
                                                              {ModifierMask::control, 0x04000000},
                                                              {ModifierMask::option, 0x08000000},
                                                              {ModifierMask::command, 0x10000000}});

// The toolkit's numbers of keys (Qt::Key): a symbol's own, or one of these.
constexpr std::array<std::pair<std::string_view, KdeShortcuts::Key>, 5> namedKeys{
    {{"Space", 0x20},
     {"Return", 0x01000004},
     {"Enter", 0x01000005},
     {"Delete", 0x01000003},
     {"Escape", 0x01000000}}};
// What Shift gives on a US keyboard with keys other than letters.
constexpr std::string_view unshifted = "1234567890`";
constexpr std::string_view shifted = "!@#$%^&*()~";
constexpr KdeShortcuts::Key keyShift = 0x02000000;
constexpr KdeShortcuts::Key keyF1 = 0x01000030;

std::optional<KdeShortcuts::Key> qtKey(std::string_view name) {
  if (name.size() == 1) return name.front();
  for (const auto& [known, key] : namedKeys) {
    if (name == known) return key;
  }
  if (name.front() != 'F') return std::nullopt;
  return keyF1 + std::stoi(std::string(name.substr(1))) - 1;
}

using Message = std::unique_ptr<sd_bus_message, decltype(&sd_bus_message_unref)>;

void append(sd_bus_message* message, const std::vector<std::string>& texts) {
  sd_bus_message_open_container(message, SD_BUS_TYPE_ARRAY, "s");
  for (const auto& text : texts) {
    sd_bus_message_append_basic(message, SD_BUS_TYPE_STRING, text.c_str());
  }
  sd_bus_message_close_container(message);
}

// A sequence has four keys, of which all but the first are none.
void appendSequence(sd_bus_message* message, KdeShortcuts::Key key) {
  const std::array<std::int32_t, 4> sequence{key, 0, 0, 0};
  sd_bus_message_open_container(message, SD_BUS_TYPE_STRUCT, "ai");
  sd_bus_message_append_array(message, SD_BUS_TYPE_INT32, sequence.data(), sizeof(sequence));
  sd_bus_message_close_container(message);
}

// The first key of each sequence; those that are none aside.
KdeShortcuts::Keys readKeys(sd_bus_message* message) {
  KdeShortcuts::Keys keys;
  sd_bus_message_enter_container(message, SD_BUS_TYPE_ARRAY, "(ai)");
  while (sd_bus_message_enter_container(message, SD_BUS_TYPE_STRUCT, "ai") > 0) {
    const void* sequence = nullptr;
    std::size_t size = 0;
    sd_bus_message_read_array(message, SD_BUS_TYPE_INT32, &sequence, &size);
    const auto key = size < sizeof(KdeShortcuts::Key)
                         ? KdeShortcuts::Key{}
                         : *static_cast<const KdeShortcuts::Key*>(sequence);
    if (key != 0) keys.push_back(key);
    sd_bus_message_exit_container(message);
  }
  return keys;
}

std::int64_t now() {
  const auto time = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::milliseconds>(time).count();
}

}  // namespace

/// The session bus, by which the service is asked and tells of presses.
class KdeShortcuts::Bus {
 public:
  explicit Bus(sd_bus* bus) : bus_(bus), notifier_(bus) {}
  ~Bus() { sd_bus_close_unref(bus_); }
  Bus(const Bus&) = delete;
  Bus& operator=(const Bus&) = delete;

  bool hasService() const {
    sd_bus_creds* owner = nullptr;
    const int status = sd_bus_get_name_creds(bus_, service, 0, &owner);
    sd_bus_creds_unref(owner);
    return status >= 0;
  }

  /// Sends what is still to be sent, which closing does not wait for.
  void finish() { notifier_.process(); }

  void listen(KdeShortcuts& owner) {
    sd_bus_add_match_async(bus_, nullptr, presses, onSignal, ignoreOutcome, &owner);
    notifier_.process();
  }

  /// About an action, where that is what the method is about.
  Message message(const char* method, const std::vector<std::string>& id = {}) const {
    sd_bus_message* made = nullptr;
    sd_bus_message_new_method_call(bus_, &made, service, servicePath, serviceInterface, method);
    if (!id.empty()) append(made, id);
    return {made, sd_bus_message_unref};
  }
  Message setting(const std::vector<std::string>& id, const Keys& keys, std::uint32_t flags) const {
    auto made = message("setShortcutKeys", id);
    sd_bus_message_open_container(made.get(), SD_BUS_TYPE_ARRAY, "(ai)");
    for (const auto key : keys) appendSequence(made.get(), key);
    sd_bus_message_close_container(made.get());
    sd_bus_message_append_basic(made.get(), SD_BUS_TYPE_UINT32, &flags);
    return made;
  }
  void send(Message message) {
    sd_bus_message_set_expect_reply(message.get(), 0);
    sd_bus_send(bus_, message.get(), nullptr);
    notifier_.processSoon();
  }
  Message ask(Message message) {
    sd_bus_message* answer = nullptr;
    if (message) sd_bus_call(bus_, message.get(), longestWait, nullptr, &answer);
    notifier_.processSoon();
    return {answer, sd_bus_message_unref};
  }

 private:
  static int ignoreOutcome(sd_bus_message* /*answer*/, void* /*data*/, sd_bus_error* /*error*/) {
    return 0;
  }
  static int onSignal(sd_bus_message* message, void* data, sd_bus_error* /*error*/) {
    auto* const owner = static_cast<KdeShortcuts*>(data);
    const bool isPress = sd_bus_message_is_signal(message, nullptr, "globalShortcutPressed") > 0;
    const bool isRelease = sd_bus_message_is_signal(message, nullptr, "globalShortcutReleased") > 0;
    const char* application = nullptr;
    const char* action = nullptr;
    if ((!isPress && !isRelease) || sd_bus_message_read(message, "ss", &application, &action) < 0) {
      return 0;
    }
    if (owner->applicationId_ == application) owner->handle(action, isPress);
    return 0;
  }

  sd_bus* const bus_;
  BusNotifier notifier_;
};

std::shared_ptr<KdeShortcuts> KdeShortcuts::open(const std::string& applicationId) {
  sd_bus* found = nullptr;
  if (sd_bus_open_user(&found) < 0) return nullptr;
  auto bus = std::make_unique<Bus>(found);
  if (!bus->hasService()) return nullptr;
  return std::shared_ptr<KdeShortcuts>(new KdeShortcuts(applicationId, std::move(bus)));
}

KdeShortcuts::KdeShortcuts(std::string applicationId, std::unique_ptr<Bus> bus)
    : applicationId_(std::move(applicationId)), bus_(std::move(bus)) {
  bus_->listen(*this);
}

KdeShortcuts::~KdeShortcuts() { bus_->finish(); }

KdeShortcuts::Keys KdeShortcuts::keysOf(const HotKeyConfig& config) {
  const auto name = HotKeyConfig::symbolName(config.keyCode);
  const auto key = name ? qtKey(*name) : std::nullopt;
  if (!key) return {};
  Key modifiers = 0;
  for (const auto& each : qtModifiers) {
    if ((config.modifiers & each.mask) != 0) modifiers |= each.bit;
  }
  Keys keys{*key | modifiers};
  const auto place = name->size() == 1 ? unshifted.find(*name) : std::string_view::npos;
  if ((modifiers & keyShift) != 0 && place != std::string_view::npos) {
    keys.push_back(shifted[place] | (modifiers & ~keyShift));
  }
  return keys;
}

std::vector<std::string> KdeShortcuts::idOf(const Action& action) const {
  const bool isListed = !action.words.empty();
  const auto name = isListed ? action.name : unlisted.data() + action.name;
  return {applicationId_, name, "Stowboard", isListed ? action.words : name};
}

std::optional<KdeShortcuts::Keys> KdeShortcuts::activate(const Action& action, const Keys& keys) {
  const auto id = idOf(action);
  bus_->send(bus_->message("doRegister", id));
  const auto before = bus_->ask(bus_->message("defaultShortcutKeys", id));
  const bool isAsBefore = before && readKeys(before.get()) == keys;
  if (!isAsBefore) bus_->send(bus_->setting(id, keys, asDefault));
  const auto flags = isAsBefore ? inUse : inUse | whateverTheUserChose;
  const auto answer = bus_->ask(bus_->setting(id, keys, flags));
  return answer ? std::optional(readKeys(answer.get())) : std::nullopt;
}

void KdeShortcuts::force(const Action& action, const Keys& keys) {
  const auto id = idOf(action);
  bus_->send(bus_->message("doRegister", id));
  bus_->send(bus_->setting(id, keys, inUse | whateverTheUserChose));
}

void KdeShortcuts::deactivate(const Action& action) {
  bus_->send(bus_->message("setInactive", idOf(action)));
}

std::string KdeShortcuts::otherHolder(Key key) const {
  auto question = bus_->message("globalShortcutsByKey");
  appendSequence(question.get(), key);
  sd_bus_message_append(question.get(), "(i)", 0);  // exactly these
  const auto answer = bus_->ask(std::move(question));
  if (!answer ||
      sd_bus_message_enter_container(answer.get(), SD_BUS_TYPE_ARRAY, "(ssssssaiai)") <= 0) {
    return {};
  }
  while (sd_bus_message_enter_container(answer.get(), SD_BUS_TYPE_STRUCT, "ssssssaiai") > 0) {
    const char* action = "";
    const char* component = "";
    const char* componentWords = "";
    sd_bus_message_read(answer.get(), "ssss", nullptr, &action, &component, &componentWords);
    if (component != applicationId_) return fmt::format("{} ({})", action, componentWords);
    sd_bus_message_skip(answer.get(), "ssaiai");
    sd_bus_message_exit_container(answer.get());
  }
  return {};
}

void KdeShortcuts::handle(const std::string& action, bool isPress) {
  // Copies, because the callee may replace it.
  if (action.starts_with(unlisted)) {
    const auto callback = onUnlistedPress;
    if (isPress && callback) callback(action.substr(unlisted.size()));
    return;
  }
  const bool isRepeat = held_ == action && now() - heldAt_ < longestRepeat;
  held_ = isPress ? action : std::string();
  heldAt_ = now();
  const auto callback = onPress;
  if (isPress && !isRepeat && callback) callback(action);
}

}  // namespace stowboard
