#pragma once

#include <map>
#include <memory>

#include "Platform/HotKeyCenter.h"
#include "Platform/RunLoop.h"
#include "Services/HotKeyManaging.h"

namespace stowboard {

/// Registers hot keys with the system and hands presses to their handlers. At most one registration
/// an id; everything is given back at destruction. Main thread.
class HotKeyManager : public HotKeyManaging {
 public:
  /// Both must outlive the manager.
  HotKeyManager(HotKeyCenter& center, RunLoop& runLoop) : center_(center), runLoop_(runLoop) {}
  ~HotKeyManager() override;
  HotKeyManager(const HotKeyManager&) = delete;
  HotKeyManager& operator=(const HotKeyManager&) = delete;

  bool registerHotKey(const HotKeyConfig& config, Handler handler) override;
  bool registerHotKey(std::uint32_t id, const HotKeyConfig& config, Handler handler) override;
  void unregister(std::uint32_t id) override;
  void unregisterAll() override;
  void unregister() override;

 private:
  struct Registration {
    HotKeyCenter::Reference reference;
    HotKeyConfig config;
    Handler handler;
  };

  bool installEventHandlerIfNeeded();
  void handleHotKey(std::uint32_t id);

  HotKeyCenter& center_;
  RunLoop& runLoop_;
  /// The center's handler outlives no manager: it looks here first.
  std::shared_ptr<HotKeyManager*> installedSelf_;
  std::map<std::uint32_t, Registration> registrations_;
};

}  // namespace stowboard
