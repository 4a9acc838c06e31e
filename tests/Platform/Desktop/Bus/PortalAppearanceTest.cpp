#include <gtest/gtest.h>
#include <systemd/sd-bus.h>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Platform/Desktop/Bus/PortalAppearance.h"
#include "Platform/QtTurns.h"
#include "contract/DesktopAppearanceContract.h"

namespace stowboard {
namespace {

/// The settings portal as a desktop runs it, on the session bus.
class Portal {
 public:
  static constexpr const char* group = "org.freedesktop.appearance";

  Portal() {
    sd_bus_open_user(&bus_);
    sd_bus_add_object_vtable(bus_, nullptr, path, settings, methods, this);
    EXPECT_GE(sd_bus_request_name(bus_, "org.freedesktop.portal.Desktop", 0), 0);
  }
  ~Portal() { sd_bus_flush_close_unref(bus_); }

  void work() {
    while (sd_bus_process(bus_, nullptr) > 0) continue;
  }

  void change(const char* key, std::uint32_t value, const char* ofGroup = group) {
    values[key] = value;
    sd_bus_emit_signal(bus_, path, settings, "SettingChanged", "ssv", ofGroup, key, "u", value);
  }

  std::map<std::string, std::uint32_t> values;
  bool isRefusing = false;
  int asked = 0;

 private:
  static constexpr const char* path = "/org/freedesktop/portal/desktop";
  static constexpr const char* settings = "org.freedesktop.portal.Settings";
  static const sd_bus_vtable methods[];

  static int readAll(sd_bus_message* call, void* userdata, sd_bus_error* error) {
    auto* self = static_cast<Portal*>(userdata);
    ++self->asked;
    if (self->isRefusing) return sd_bus_error_set(error, SD_BUS_ERROR_FAILED, "No");
    sd_bus_message* answer = nullptr;
    sd_bus_message_new_method_return(call, &answer);
    sd_bus_message_open_container(answer, 'a', "{sa{sv}}");
    // More than was asked for, as some implementations send.
    sd_bus_message_append(answer, "{sa{sv}}", "org.gnome.desktop.interface", 1, "contrast", "u", 1);
    sd_bus_message_open_container(answer, 'e', "sa{sv}");
    sd_bus_message_append(answer, "s", group);
    sd_bus_message_open_container(answer, 'a', "{sv}");
    sd_bus_message_append(answer, "{sv}", "accent-color", "(ddd)", 0.1, 0.2, 0.3);
    for (const auto& [key, value] : self->values) {
      sd_bus_message_append(answer, "{sv}", key.c_str(), "u", value);
    }
    for (int open = 0; open < 3; ++open) sd_bus_message_close_container(answer);
    sd_bus_send(nullptr, answer, nullptr);
    sd_bus_message_unref(answer);
    return 1;
  }

  sd_bus* bus_ = nullptr;
};

const sd_bus_vtable Portal::methods[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("ReadAll", "as", "a{sa{sv}}", readAll, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_SIGNAL("SettingChanged", "ssv", 0), SD_BUS_VTABLE_END};

/// A desktop whose portal starts with the user's first choice.
class PortalHarness {
 public:
  DesktopAppearance& appearance() { return *appearance_; }
  void prefer(const Appearance& wanted) {
    if (!portal_) portal_.emplace();
    tell("color-scheme", schemes.at(wanted.colorScheme));
    tell("contrast", wanted.contrast == Contrast::high ? 1 : 0);
  }
  bool turnUntil(const std::function<bool()>& condition) {
    return turnQtUntil([&] { return portal_->work(), condition(); });
  }

 private:
  // The last is none that the portal names.
  const std::map<ColorScheme, std::uint32_t> schemes{
      {ColorScheme::dark, 1}, {ColorScheme::light, 2}, {ColorScheme::noPreference, 7}};

  void tell(const char* key, std::uint32_t value) {
    const bool isKnown = portal_->asked > 0;
    if (isKnown && portal_->values[key] != value) portal_->change(key, value);
    portal_->values[key] = value;
  }

  QtApplication application_;
  std::optional<Portal> portal_;
  std::unique_ptr<PortalAppearance> appearance_ = PortalAppearance::create();
};

INSTANTIATE_TYPED_TEST_SUITE_P(Portal, DesktopAppearanceContract, PortalHarness);

class PortalAppearanceTest : public ::testing::Test {
 protected:
  bool becomes(const Appearance& expected) {
    return turnQtUntil([&] {
      if (portal_) portal_->work();
      return appearance_->appearance() == expected &&
             (reported_.empty() ? Appearance() : reported_.back()) == expected;
    });
  }
  void startPortal(std::map<std::string, std::uint32_t> values) {
    portal_ = std::make_unique<Portal>();
    portal_->values = std::move(values);
  }
  void ask() {
    appearance_ = PortalAppearance::create();
    ASSERT_TRUE(appearance_);
    appearance_->onDidChange = [this](const Appearance& now) { reported_.push_back(now); };
  }

  QtApplication application_;
  std::unique_ptr<Portal> portal_;
  std::unique_ptr<PortalAppearance> appearance_;
  std::vector<Appearance> reported_;
};

TEST_F(PortalAppearanceTest, IsReadOnceAndHeardInItsGroupOnly) {
  startPortal({{"color-scheme", 1}});
  ask();
  EXPECT_TRUE(becomes({ColorScheme::dark, Contrast::normal}));
  portal_->change("color-scheme", 2, "org.kde.kdeglobals.General");
  portal_->change("contrast", 1);
  EXPECT_TRUE(becomes({ColorScheme::dark, Contrast::high}));
  EXPECT_EQ(reported_.size(), 2U);
  EXPECT_EQ(portal_->asked, 1);
}

TEST_F(PortalAppearanceTest, APortalThatComesLateOrAgainIsPickedUp) {
  ask();
  startPortal({{"color-scheme", 1}});
  EXPECT_TRUE(becomes({ColorScheme::dark, Contrast::normal}));
  portal_.reset();
  startPortal({{"color-scheme", 2}});
  EXPECT_TRUE(becomes({ColorScheme::light, Contrast::normal}));
}

TEST_F(PortalAppearanceTest, APortalThatRefusesIsNoPreference) {
  startPortal({{"color-scheme", 1}});
  portal_->isRefusing = true;
  ask();
  EXPECT_TRUE(turnQtUntil([&] { return portal_->work(), portal_->asked > 0; }));
  // Still heard.
  portal_->change("contrast", 1);
  EXPECT_TRUE(becomes({ColorScheme::noPreference, Contrast::high}));
}

}  // namespace
}  // namespace stowboard
