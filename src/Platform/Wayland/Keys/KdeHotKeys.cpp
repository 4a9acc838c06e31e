#include "Platform/Wayland/Keys/KdeHotKeys.h"

#include <algorithm>
#include <utility>

#include "Base/Log.h"
#include "Platform/HotKeyName.h"

namespace stowboard {

namespace {

KdeShortcuts::Action actionOf(const HotKeyIdentity& identity) {
  auto [name, words] = nameOf(identity);
  return {std::move(name), std::move(words)};
}

}  // namespace

KdeHotKeys::KdeHotKeys(std::shared_ptr<KdeShortcuts> shortcuts) : shortcuts_(std::move(shortcuts)) {
  shortcuts_->onPress = [this](const std::string& action) { press(action); };
}

KdeHotKeys::~KdeHotKeys() {
  for (const auto& [reference, hotKey] : hotKeys_) {
    shortcuts_->deactivate(actionOf(hotKey.identity));
  }
  shortcuts_->onPress = nullptr;
}

HotKeyCenter::Status KdeHotKeys::installEventHandler(Handler handler) {
  handler_ = std::move(handler);
  return noError;
}

HotKeyCenter::Registration KdeHotKeys::registerHotKey(const HotKeyConfig& config,
                                                      const HotKeyIdentity& identity) {
  const auto keys = KdeShortcuts::keysOf(config);
  if (keys.empty()) return {noSuchKey, 0};
  const HotKey hotKey{config, identity, keys};
  const Status status = oldest(keys) == hotKeys_.end() ? activate(hotKey) : noError;
  if (status != noError) return {status, 0};
  hotKeys_.emplace(++lastReference_, hotKey);
  return {noError, lastReference_};
}

HotKeyCenter::Status KdeHotKeys::activate(const HotKey& hotKey) {
  const auto action = actionOf(hotKey.identity);
  const auto keys = shortcuts_->activate(action, hotKey.keys);
  if (!keys) return noAnswer;
  const bool isOther =
      std::ranges::find_first_of(*keys, hotKey.keys) == keys->end() && !keys->empty();
  // It gives keys that it remembers even when another has taken them meanwhile.
  const auto holder = isOther ? std::string() : shortcuts_->otherHolder(hotKey.keys.front());
  if (!holder.empty()) {
    Log::hotKey.error("{} is taken by \"{}\", as the system's settings show",
                      hotKey.config.keyboardString(), holder);
    shortcuts_->deactivate(action);
    return isTaken;
  }
  if (isOther) {
    Log::hotKey.info("The system's settings have other keys for \"{}\" than {}", action.words,
                     hotKey.config.displayString());
  } else if (keys->empty()) {
    Log::hotKey.info("\"{}\" is switched off in the system's settings", action.words);
  }
  return noError;
}

void KdeHotKeys::unregisterHotKey(Reference reference) {
  const auto hotKey = hotKeys_.find(reference);
  if (hotKey == hotKeys_.end()) return;
  const auto [config, identity, keys] = hotKey->second;
  const bool wasActive = oldest(keys) == hotKey;
  hotKeys_.erase(hotKey);
  if (!wasActive) return;
  shortcuts_->deactivate(actionOf(identity));
  const auto next = oldest(keys);
  if (next != hotKeys_.end()) activate(next->second);
}

KdeHotKeys::HotKeys::const_iterator KdeHotKeys::oldest(const KdeShortcuts::Keys& keys) const {
  return std::ranges::find_if(hotKeys_,
                              [&keys](const auto& each) { return each.second.keys == keys; });
}

void KdeHotKeys::press(const std::string& action) {
  const auto found = std::ranges::find_if(
      hotKeys_, [&](const auto& each) { return nameOf(each.second.identity).name == action; });
  if (found == hotKeys_.end() || !handler_) return;
  // Copies, because the handler may end the registration.
  const auto identity = found->second.identity;
  const auto handler = handler_;
  handler(identity);
}

}  // namespace stowboard
