#include "Platform/Wayland/Keys/KwinTypingDevice.h"

#include <xkbcommon/xkbcommon-keysyms.h>

#include <array>
#include <chrono>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>

#include "Base/Log.h"

namespace stowboard {

namespace {

struct Modifier {
  std::uint8_t bit;
  /// XKB's mask, and the keys by XKB's numbers.
  std::uint32_t xkbMask;
  std::uint8_t leftKey;
  std::uint8_t rightKey;
  KdeShortcuts::Key shortcutBit;
};
constexpr std::array modifiers = std::to_array<Modifier>({{1, 1, 50, 62, 0x02000000},
                                                          {2, 4, 37, 105, 0x04000000},
                                                          {4, 8, 64, 108, 0x08000000},
                                                          {8, 64, 133, 134, 0x10000000}});
constexpr std::uint8_t control = 2;
constexpr std::uint8_t allModifiers = 15;

// F18, which keyboards lack that one can buy, and what it gives: XF86Launch9, as Qt 5 and Qt 6
// number that, or F18 itself.
constexpr std::uint8_t askingKey = 196;
constexpr KdeShortcuts::Key askingSymbols[] = {0x010000ad, 0x010000ab, 0x01000041};
constexpr std::string_view askingAction = "held-";

// Nothing answers while the user's shortcuts are switched off.
constexpr std::chrono::milliseconds longestWait{100};
constexpr std::chrono::seconds longestHold{10};
constexpr std::chrono::milliseconds looksApart{20};

KdeShortcuts::Action asking(std::uint8_t held) {
  return {std::string(askingAction) + std::to_string(held), {}};
}

}  // namespace

bool KwinTypingDevice::isAllowed(const WaylandConnection& connection) {
  return connection.offers(org_kde_kwin_fake_input_interface.name);
}

std::unique_ptr<KwinTypingDevice> KwinTypingDevice::create(
    std::shared_ptr<WaylandMainConnection> connection, std::shared_ptr<KdeShortcuts> shortcuts,
    RunLoop& loop) {
  if (!isAllowed(connection->connection())) return nullptr;
  return std::unique_ptr<KwinTypingDevice>(
      new KwinTypingDevice(std::move(connection), std::move(shortcuts), loop));
}

KwinTypingDevice::KwinTypingDevice(std::shared_ptr<WaylandMainConnection> connection,
                                   std::shared_ptr<KdeShortcuts> shortcuts, RunLoop& loop)
    : connection_(std::move(connection)),
      shortcuts_(std::move(shortcuts)),
      loop_(loop),
      keymap_(connection_->connection()),
      input_(connection_->connection().bind<org_kde_kwin_fake_input>(
          org_kde_kwin_fake_input_interface, 4)) {
  org_kde_kwin_fake_input_authenticate(input_.get(), "Stowboard", "pastes clips");
  connection_->connection().flush();
  for (Modifiers held = 0; held <= allModifiers; ++held) {
    KdeShortcuts::Keys keys(std::begin(askingSymbols), std::end(askingSymbols));
    for (const auto& each : modifiers) {
      for (auto& key : keys) key |= (held & each.bit) != 0 ? each.shortcutBit : 0;
    }
    shortcuts_->force(asking(held), keys);
  }
  shortcuts_->onUnlistedPress = [this](const std::string& action) {
    if (action.starts_with(askingAction)) {
      answer(static_cast<Modifiers>(std::stoi(action.substr(askingAction.size()))));
    }
  };
}

KwinTypingDevice::~KwinTypingDevice() {
  shortcuts_->onUnlistedPress = nullptr;
  for (Modifiers held = 0; held <= allModifiers; ++held) shortcuts_->deactivate(asking(held));
}

std::optional<std::uint8_t> KwinTypingDevice::keyOfV() const { return keymap_.keyOf(XKB_KEY_v); }

bool KwinTypingDevice::type(std::uint8_t key, std::uint32_t xkbModifiers,
                            std::function<void()> done) {
  if (connection_->isBroken()) return false;
  stroke_ = {key, 0, std::move(done), loop_.now() + longestHold};
  for (const auto& each : modifiers) {
    if ((xkbModifiers & each.xkbMask) != 0) stroke_.modifiers |= each.bit;
  }
  askForHeld([this](Modifiers held) { lift(held); });
  return true;
}

void KwinTypingDevice::askForHeld(std::function<void(Modifiers)> then) {
  then_ = std::move(then);
  press(askingKey, true);
  press(askingKey, false);
  connection_->connection().flush();
  loop_.postAfter(longestWait, [question = ++question_, self = std::weak_ptr(self_)] {
    const auto device = self.lock();
    if (device && (*device)->question_ == question) (*device)->answer(0);
  });
}

void KwinTypingDevice::answer(Modifiers held) {
  ++question_;
  if (const auto then = std::exchange(then_, nullptr)) then(held);
}

// A Control goes down first, and up last: Alt or Super alone would open a menu. Which of two keys
// is held shows when the left one is lifted.
void KwinTypingDevice::lift(Modifiers held) {
  held_ = held;
  const auto lifted = static_cast<Modifiers>(held & ~stroke_.modifiers);
  if (lifted == 0) return typeAndPutBack(0, 0);
  if (!canLift_) return waitForRelease();
  if ((held & control) == 0) pressAll(control, 0, true);
  pressAll(lifted, 0, false);
  askForHeld([this, lifted](Modifiers still) {
    const auto rightOnes = static_cast<Modifiers>(lifted & still);
    if (rightOnes == 0) return typeAndPutBack(lifted, 0);
    pressAll(0, rightOnes, false);
    askForHeld([this, lifted, rightOnes](Modifiers now) {
      if ((lifted & now) == 0) return typeAndPutBack(lifted & ~rightOnes, rightOnes);
      // Since version 6 KWin lets each device release its own keys only.
      canLift_ = false;
      if ((held_ & control) == 0) pressAll(control, 0, false);
      waitForRelease();
    });
  });
}

void KwinTypingDevice::waitForRelease() {
  connection_->connection().flush();
  if (loop_.now() > stroke_.end) {
    Log::paste.error("The keystroke was not sent: modifier keys were held too long");
    return finish();
  }
  loop_.postAfter(looksApart, [self = std::weak_ptr(self_)] {
    const auto device = self.lock();
    if (!device) return;
    (*device)->askForHeld([device = *device](Modifiers held) { device->lift(held); });
  });
}

void KwinTypingDevice::typeAndPutBack(Modifiers leftOnes, Modifiers rightOnes) {
  const bool isGuarded = (leftOnes | rightOnes) != 0;
  const bool hasOwnGuard = isGuarded && (held_ & control) == 0;
  const auto added =
      static_cast<Modifiers>(stroke_.modifiers & ~held_ & ~(hasOwnGuard ? control : 0));
  const bool isGuardInTheWay = hasOwnGuard && (stroke_.modifiers & control) == 0;
  if (isGuardInTheWay) pressAll(control, 0, false);
  pressAll(added, 0, true);
  press(stroke_.key, true);
  press(stroke_.key, false);
  pressAll(added, 0, false);
  if (isGuardInTheWay) pressAll(control, 0, true);
  pressAll(leftOnes, rightOnes, true);
  if (hasOwnGuard) pressAll(control, 0, false);
  finish();
}

void KwinTypingDevice::finish() {
  connection_->connection().flush();
  if (const auto done = std::exchange(stroke_.done, nullptr)) done();
}

void KwinTypingDevice::press(std::uint8_t key, bool isDown) {
  const std::uint32_t kernelCode = key - 8U;
  org_kde_kwin_fake_input_keyboard_key(
      input_.get(), kernelCode,
      isDown ? WL_KEYBOARD_KEY_STATE_PRESSED : WL_KEYBOARD_KEY_STATE_RELEASED);
}

void KwinTypingDevice::pressAll(Modifiers leftOnes, Modifiers rightOnes, bool areDown) {
  for (const auto& each : modifiers) {
    if ((leftOnes & each.bit) != 0) press(each.leftKey, areDown);
    if ((rightOnes & each.bit) != 0) press(each.rightKey, areDown);
  }
}

}  // namespace stowboard
