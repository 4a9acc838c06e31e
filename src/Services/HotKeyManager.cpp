#include "Services/HotKeyManager.h"

#include <memory>
#include <utility>

#include "Base/Log.h"

namespace stowboard {

namespace {

constexpr std::uint32_t signature = 'S' << 24 | 'B' << 16 | 'H' << 8 | 'K';
constexpr std::uint32_t panelId = 1;

}  // namespace

HotKeyManager::~HotKeyManager() {
  unregisterAll();
  if (installedSelf_) *installedSelf_ = nullptr;
}

bool HotKeyManager::registerHotKey(const HotKeyConfig& config, Handler handler) {
  return registerHotKey(panelId, config, std::move(handler));
}

bool HotKeyManager::registerHotKey(std::uint32_t id, const HotKeyConfig& config, Handler handler) {
  unregister(id);
  if (!installEventHandlerIfNeeded()) return false;
  const auto [status, reference] = center_.registerHotKey(config, {signature, id});
  if (status != HotKeyCenter::noError || reference == 0) {
    Log::hotKey.error("RegisterEventHotKey failed ({}) for id {} {}", status, id,
                      config.displayString());
    return false;
  }
  registrations_.insert_or_assign(id, Registration{reference, config, std::move(handler)});
  Log::hotKey.info("Hotkey [{}] registered: {}", id, config.displayString());
  return true;
}

void HotKeyManager::unregister(std::uint32_t id) {
  if (const auto record = registrations_.extract(id)) {
    center_.unregisterHotKey(record.mapped().reference);
  }
}

void HotKeyManager::unregisterAll() {
  for (const auto& [id, registration] : registrations_) {
    center_.unregisterHotKey(registration.reference);
  }
  registrations_.clear();
}

void HotKeyManager::unregister() { unregister(panelId); }

bool HotKeyManager::installEventHandlerIfNeeded() {
  if (installedSelf_) return true;
  auto self = std::make_shared<HotKeyManager*>(this);
  const auto status = center_.installEventHandler([self](const HotKeyIdentity& identity) {
    if (*self != nullptr && identity.signature == signature) (*self)->handleHotKey(identity.id);
  });
  if (status != HotKeyCenter::noError) {
    Log::hotKey.error("InstallEventHandler failed ({})", status);
    return false;
  }
  installedSelf_ = std::move(self);
  return true;
}

void HotKeyManager::handleHotKey(std::uint32_t id) {
  const auto found = registrations_.find(id);
  if (found == registrations_.end()) return;
  if (id == panelId) center_.holdTyping();
  // On a later turn, with a copy: the handler may end its own registration.
  runLoop_.post(found->second.handler);
}

}  // namespace stowboard
