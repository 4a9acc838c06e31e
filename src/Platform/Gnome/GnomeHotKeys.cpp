#include "Platform/Gnome/GnomeHotKeys.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <string_view>
#include <utility>

#include "Base/Log.h"
#include "Platform/KeyPositions.h"

namespace stowboard {

namespace {

struct ShellModifier {
  std::uint32_t mask;
  std::string_view name;
};
constexpr std::array modifiers = std::to_array<ShellModifier>({{ModifierMask::command, "<Super>"},
                                                               {ModifierMask::option, "<Alt>"},
                                                               {ModifierMask::control, "<Control>"},
                                                               {ModifierMask::shift, "<Shift>"}});

std::string acceleratorOf(const HotKeyConfig& config, std::string_view key) {
  std::string accelerator;
  for (const auto& each : modifiers) {
    if ((config.modifiers & each.mask) != 0) accelerator += each.name;
  }
  return accelerator.append(key);
}

// A key by its place, as the shell writes it.
std::string accelerator(const HotKeyConfig& config) {
  return acceleratorOf(config, fmt::format("{:#04x}", xkbKeyCode(config.keyCode).value_or(0)));
}

// A key by its symbol on a US keyboard, as the desktop's settings write it.
std::string settingsAccelerator(const HotKeyConfig& config) {
  std::string symbol(HotKeyConfig::symbolName(config.keyCode).value_or(""));
  std::ranges::transform(symbol, symbol.begin(),
                         [](unsigned char letter) { return std::tolower(letter); });
  return acceleratorOf(config, symbol);
}

}  // namespace

GnomeHotKeys::GnomeHotKeys(std::shared_ptr<GnomeShell> shell,
                           std::unique_ptr<HotKeyCenter> otherwise)
    : shell_(std::move(shell)), otherwise_(std::move(otherwise)) {
  shell_->onPress = [this](const std::string& name) { press(name); };
  shell_->follow([this] { servingDidChange(); });
}

// The extension takes back by itself what a program leaves.
GnomeHotKeys::~GnomeHotKeys() { shell_->onPress = nullptr; }

HotKeyCenter::Status GnomeHotKeys::installEventHandler(Handler handler) {
  handler_ = std::move(handler);
  return otherwise_->installEventHandler(handler_);
}

HotKeyCenter::Registration GnomeHotKeys::registerHotKey(const HotKeyConfig& config,
                                                        const HotKeyIdentity& identity) {
  if (!xkbKeyCode(config.keyCode)) return {noSuchKey, 0};
  HotKey hotKey{config, identity};
  if (shell_->isServing()) {
    if (oldest(accelerator(config)) == hotKeys_.end()) grab(hotKey);
  } else {
    const auto [status, reference] = otherwise_->registerHotKey(config, identity);
    if (status != noError) return {status, 0};
    hotKey.otherwise = reference;
  }
  hotKeys_.emplace(++lastReference_, hotKey);
  return {noError, lastReference_};
}

void GnomeHotKeys::grab(const HotKey& hotKey) {
  const auto keys = accelerator(hotKey.config);
  shell_->grab(keys, keys, [this, config = hotKey.config](bool isGranted) {
    if (isGranted) return;
    shell_->findHolder(settingsAccelerator(config), [config](const std::string& holder) {
      Log::hotKey.error("{} is taken{}", config.keyboardString(),
                        holder.empty() ? "" : fmt::format(" by \"{}\"", holder));
    });
  });
}

void GnomeHotKeys::unregisterHotKey(Reference reference) {
  const auto record = hotKeys_.extract(reference);
  if (!record) return;
  const auto& hotKey = record.mapped();
  if (hotKey.otherwise != 0) otherwise_->unregisterHotKey(hotKey.otherwise);
  const auto keys = accelerator(hotKey.config);
  if (shell_->isServing() && oldest(keys) == hotKeys_.end()) shell_->ungrab(keys);
}

void GnomeHotKeys::holdTyping() {
  if (!shell_->isServing()) otherwise_->holdTyping();
}

void GnomeHotKeys::releaseTyping() { otherwise_->releaseTyping(); }

bool GnomeHotKeys::pressInWindow(std::uint32_t xkbKey, std::uint32_t modifiers) {
  return !shell_->isServing() && otherwise_->pressInWindow(xkbKey, modifiers);
}

void GnomeHotKeys::servingDidChange() {
  for (auto& [reference, hotKey] : hotKeys_) {
    if (shell_->isServing()) {
      if (hotKey.otherwise != 0) otherwise_->unregisterHotKey(std::exchange(hotKey.otherwise, 0));
      if (oldest(accelerator(hotKey.config))->first == reference) grab(hotKey);
    } else {
      hotKey.otherwise = otherwise_->registerHotKey(hotKey.config, hotKey.identity).reference;
    }
  }
}

GnomeHotKeys::HotKeys::const_iterator GnomeHotKeys::oldest(const std::string& keys) const {
  return std::ranges::find_if(
      hotKeys_, [&](const auto& each) { return accelerator(each.second.config) == keys; });
}

void GnomeHotKeys::press(const std::string& keys) {
  const auto found = oldest(keys);
  if (found == hotKeys_.end() || !handler_) return;
  // Copies, because the handler may end the registration.
  const auto identity = found->second.identity;
  const auto handler = handler_;
  handler(identity);
}

}  // namespace stowboard
