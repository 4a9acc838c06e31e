#pragma once

#include <map>
#include <memory>
#include <string>

#include "Platform/HotKeyCenter.h"
#include "Platform/Wayland/KdeShortcuts.h"

namespace stowboard {

/// Global hot keys by KDE's service for them, which shows them in the system's settings, where the
/// user may change them or switch them off; that holds until the combination is changed here. Keys
/// are told by the symbols of a US keyboard, as the service knows no places.
///
/// A combination may be registered several times: the registration that has lasted longest gets the
/// presses. Registering waits for the service's answer.
class KdeHotKeys final : public HotKeyCenter {
 public:
  static constexpr Status noSuchKey = -1;
  static constexpr Status noAnswer = -3;
  /// Something else has it; the number of an X server's refusal.
  static constexpr Status isTaken = 10;

  explicit KdeHotKeys(std::shared_ptr<KdeShortcuts> shortcuts);
  ~KdeHotKeys() override;

  Status installEventHandler(Handler handler) override;
  Registration registerHotKey(const HotKeyConfig& config, const HotKeyIdentity& identity) override;
  void unregisterHotKey(Reference reference) override;

 private:
  struct HotKey {
    HotKeyConfig config;
    HotKeyIdentity identity;
    KdeShortcuts::Keys keys;
  };
  using HotKeys = std::map<Reference, HotKey>;

  Status activate(const HotKey& hotKey);
  HotKeys::const_iterator oldest(const KdeShortcuts::Keys& keys) const;
  void press(const std::string& action);

  const std::shared_ptr<KdeShortcuts> shortcuts_;
  Handler handler_;
  HotKeys hotKeys_;
  Reference lastReference_ = 0;
};

}  // namespace stowboard
