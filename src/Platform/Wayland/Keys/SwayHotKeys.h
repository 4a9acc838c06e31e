#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Platform/HotKeyCenter.h"
#include "Platform/Wayland/Keys/SwayBindings.h"
#include "Platform/Wayland/SwayIpc.h"

namespace stowboard {

/// Global hot keys on sway: bindings of physical keys that are made while the program runs, and
/// taken back at its end. They do nothing themselves; sway tells of their use. A combination that
/// the user's configuration binds is left to it. When the configuration is read again, they are
/// made again.
///
/// Symbols in the configuration are taken as those of a US keyboard.
///
/// A combination may be registered several times: the registration that has lasted longest gets the
/// presses. Registering waits for sway's answer.
class SwayHotKeys final : public HotKeyCenter {
 public:
  static constexpr Status noSuchKey = -1;
  static constexpr Status refused = -3;
  /// The user's configuration binds it; the number of an X server's refusal.
  static constexpr Status isTaken = 10;

  explicit SwayHotKeys(std::shared_ptr<SwayIpc> sway);
  ~SwayHotKeys() override;

  Status installEventHandler(Handler handler) override;
  Registration registerHotKey(const HotKeyConfig& config, const HotKeyIdentity& identity) override;
  void unregisterHotKey(Reference reference) override;

 private:
  struct HotKey {
    HotKeyConfig config;
    HotKeyIdentity identity;
    /// As sway writes it, as "Mod4+Shift+55"; empty while it is not to be had.
    std::string combination;
  };

  void handle(const SwayIpc::Event& event);
  void press(const std::string& combination);
  void readConfiguration();
  void bindAllAnew();
  Status bind(const HotKeyConfig& config, std::string& combination);
  bool isUsers(const HotKeyConfig& config, const std::string& combination) const;
  bool isOurs(const std::string& combination) const;

  const std::shared_ptr<SwayIpc> sway_;
  std::vector<SwayCombination> users_;
  Handler handler_;
  std::map<Reference, HotKey> hotKeys_;
  Reference lastReference_ = 0;
  const std::unique_ptr<SwayIpc::Subscription> subscription_;
};

}  // namespace stowboard
