#include "Platform/Desktop/Bus/PortalAppearance.h"

#include <systemd/sd-bus.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "Platform/Desktop/BusNotifier.h"

namespace stowboard {

namespace {

// For matches that are added without waiting: without a handler, the bus library closes the
// connection when the bus's answer comes too late, as to a program that was stopped for a while.
int ignoreMatchOutcome(sd_bus_message* /*answer*/, void* /*data*/, sd_bus_error* /*error*/) {
  return 0;
}

constexpr const char* portal = "org.freedesktop.portal.Desktop";
constexpr const char* portalPath = "/org/freedesktop/portal/desktop";
constexpr const char* settings = "org.freedesktop.portal.Settings";
constexpr const char* appearanceGroup = "org.freedesktop.appearance";
constexpr const char* portalComesAndGoes =
    "type='signal',sender='org.freedesktop.DBus',path='/org/freedesktop/DBus',"
    "interface='org.freedesktop.DBus',member='NameOwnerChanged',"
    "arg0='org.freedesktop.portal.Desktop'";

std::string_view readText(sd_bus_message* message) {
  const char* text = "";
  sd_bus_message_read_basic(message, SD_BUS_TYPE_STRING, &text);
  return text;
}

// Numbers that the portal does not name stand for no preference.
void take(Appearance& appearance, std::string_view key, std::uint32_t value) {
  if (key == "color-scheme") {
    appearance.colorScheme = value == 1   ? ColorScheme::dark
                             : value == 2 ? ColorScheme::light
                                          : ColorScheme::noPreference;
  } else if (key == "contrast") {
    appearance.contrast = value == 1 ? Contrast::high : Contrast::normal;
  }
}

// A key and its variant; keys with values of other types are passed over.
void readEntry(sd_bus_message* message, Appearance& appearance) {
  const std::string_view key = readText(message);
  std::uint32_t value = 0;
  if (sd_bus_message_enter_container(message, SD_BUS_TYPE_VARIANT, "u") <= 0) {
    sd_bus_message_skip(message, "v");
    return;
  }
  sd_bus_message_read_basic(message, SD_BUS_TYPE_UINT32, &value);
  sd_bus_message_exit_container(message);
  take(appearance, key, value);
}

// The one group that was asked for, as a{sa{sv}}.
Appearance readGroups(sd_bus_message* message) {
  Appearance appearance;
  sd_bus_message_enter_container(message, SD_BUS_TYPE_ARRAY, "{sa{sv}}");
  while (sd_bus_message_enter_container(message, SD_BUS_TYPE_DICT_ENTRY, "sa{sv}") > 0) {
    const bool isWanted = readText(message) == appearanceGroup;
    sd_bus_message_enter_container(message, SD_BUS_TYPE_ARRAY, "{sv}");
    while (sd_bus_message_enter_container(message, SD_BUS_TYPE_DICT_ENTRY, "sv") > 0) {
      isWanted ? readEntry(message, appearance) : void(sd_bus_message_skip(message, "sv"));
      sd_bus_message_exit_container(message);
    }
    sd_bus_message_exit_container(message);
    sd_bus_message_exit_container(message);
  }
  return appearance;
}

}  // namespace

/// Asks and listens, from the main thread's event loop.
class PortalAppearance::Client {
 public:
  Client(PortalAppearance& owner, sd_bus* bus)
      : owner_(owner), connection_(bus, [this](sd_bus* each) { join(each); }) {}

  const Appearance& appearance() const { return appearance_; }

 private:
  void join(sd_bus* bus) {
    bus_ = bus;
    // Listening first, so that no change is missed between the answer and the first signal.
    sd_bus_match_signal_async(bus_, nullptr, portal, portalPath, settings, "SettingChanged",
                              onSettingChanged, ignoreMatchOutcome, this);
    sd_bus_add_match_async(bus_, nullptr, portalComesAndGoes, onOwnerChanged, ignoreMatchOutcome,
                           this);
    ask();
  }

  void ask() {
    sd_bus_call_method_async(bus_, nullptr, portal, portalPath, settings, "ReadAll", onAnswer, this,
                             "as", 1, appearanceGroup);
  }

  static int onAnswer(sd_bus_message* message, void* client, sd_bus_error*) {
    if (sd_bus_message_is_method_error(message, nullptr) > 0) return 0;
    static_cast<Client*>(client)->set(readGroups(message));
    return 0;
  }

  static int onSettingChanged(sd_bus_message* message, void* client, sd_bus_error*) {
    auto* self = static_cast<Client*>(client);
    if (readText(message) != appearanceGroup) return 0;
    Appearance changed = self->appearance_;
    readEntry(message, changed);
    self->set(changed);
    return 0;
  }

  static int onOwnerChanged(sd_bus_message* message, void* client, sd_bus_error*) {
    readText(message);
    readText(message);
    const bool isThere = !readText(message).empty();
    if (isThere) static_cast<Client*>(client)->ask();
    return 0;
  }

  void set(const Appearance& appearance) {
    if (std::exchange(appearance_, appearance) == appearance) return;
    // A copy, because the callee may replace it.
    if (const auto callback = owner_.onDidChange) callback(appearance);
  }

  PortalAppearance& owner_;
  sd_bus* bus_ = nullptr;
  Appearance appearance_;
  LastingBus connection_;
};

std::unique_ptr<PortalAppearance> PortalAppearance::create() {
  sd_bus* bus = nullptr;
  if (sd_bus_open_user(&bus) < 0) return nullptr;
  std::unique_ptr<PortalAppearance> appearance(new PortalAppearance);
  appearance->client_ = std::make_unique<Client>(*appearance, bus);
  return appearance;
}

PortalAppearance::PortalAppearance() = default;
PortalAppearance::~PortalAppearance() = default;

Appearance PortalAppearance::appearance() const { return client_->appearance(); }

}  // namespace stowboard
