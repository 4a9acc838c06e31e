#include "UI/Settings/SettingsViewModel.h"

#include <algorithm>
#include <array>
#include <utility>

namespace stowboard {

namespace {

using enum ModifierKeyOption;

/// The first of the options whose bit is set.
ModifierKeyOption firstIn(std::uint32_t mask, const std::array<ModifierKeyOption, 4>& options,
                          ModifierKeyOption fallback) {
  const auto found = std::ranges::find_if(
      options, [mask](ModifierKeyOption option) { return (mask & carbonMask(option)) != 0; });
  return found == options.end() ? fallback : *found;
}

}  // namespace

SettingsViewModel::SettingsViewModel(std::shared_ptr<AppState> appState,
                                     PermissionHelper& permission, LoginItemServicing& loginItem,
                                     RunLoop& runLoop)
    : permissionGranted_(permission.isGranted()),
      launchAtLogin_(loginItem.isEnabled()),
      appState_(std::move(appState)),
      permission_(permission),
      loginItem_(loginItem) {
  appState_->settingsPublisher()
      .dropFirst()
      .receiveOn([&runLoop](auto task) { runLoop.post(std::move(task)); })
      .sink([this](const AppSettings&) { changes_.announce(); })
      .storeIn(cancellables_);
}

void SettingsViewModel::setShowClearConfirmation(bool isShowing) {
  showClearConfirmation_ = isShowing;
  changes_.announce();
}

ModifierKeyOption SettingsViewModel::hotKeyModifier1() const {
  return firstIn(settings().hotKey.modifiers, {command, control, option, shift}, command);
}

ModifierKeyOption SettingsViewModel::hotKeyModifier2() const {
  const std::uint32_t rest = settings().hotKey.modifiers & ~carbonMask(hotKeyModifier1());
  return firstIn(rest, {shift, option, control, command}, none);
}

KeyOption SettingsViewModel::hotKeyKeyOption() const {
  const std::uint32_t keyCode = settings().hotKey.keyCode;
  const auto options = KeyOption::allOptions();
  const auto found = std::ranges::find(options, keyCode, &KeyOption::keyCode);
  if (found != options.end()) return *found;
  return {keyCode, HotKeyConfig::symbolName(keyCode).value_or("V")};
}

DirectPasteModifierPair SettingsViewModel::directPastePair() const {
  return directPasteModifierPairFrom(settings().directPasteModifiers);
}

template <typename Value>
void SettingsViewModel::set(Value AppSettings::* field, Value value) {
  AppSettings changed = settings();
  changed.*field = value;
  appState_->updateSettings(std::move(changed));
}

void SettingsViewModel::setLanguage(AppLanguage language) { set(&AppSettings::language, language); }

void SettingsViewModel::setDirectPastePair(DirectPasteModifierPair pair) {
  set(&AppSettings::directPasteModifiers, carbonMask(pair));
}

void SettingsViewModel::setMaxRecordsInt(std::int64_t count) {
  set(&AppSettings::maxRecords, std::clamp<std::int64_t>(count, 1, 1000));
}

void SettingsViewModel::updateHotKeyComponents(ModifierKeyOption mod1, ModifierKeyOption mod2,
                                               KeyOption key) {
  std::uint32_t mask = carbonMask(mod1) | carbonMask(mod2);
  if (mask == 0) mask = ModifierMask::command;
  set(&AppSettings::hotKey, HotKeyConfig{key.keyCode, mask});
}

void SettingsViewModel::setLaunchAtLogin(bool isEnabled) {
  const auto failure = loginItem_.setEnabled(isEnabled);
  launchAtLogin_ = loginItem_.isEnabled();
  changes_.announce();
  loginItemError_ = failure ? std::optional(failure->localizedDescription()) : std::nullopt;
  changes_.announce();
}

void SettingsViewModel::refreshPermissionStatus() {
  permissionGranted_ = permission_.isGranted();
  changes_.announce();
}

void SettingsViewModel::clearHistory() {
  appState_->clearAll();
  setShowClearConfirmation(false);
}

}  // namespace stowboard
