#pragma once

#include <map>
#include <memory>
#include <string>

#include "Platform/Gnome/GnomeShell.h"
#include "Platform/HotKeyCenter.h"

namespace stowboard {

/// Global hot keys by our extension of GNOME Shell: by the keys' places, whatever window is in
/// front. While the extension is not there, they are another center's; each change between the two
/// takes all registrations along.
///
/// The extension answers later: what it refuses is logged then, with what has the keys where that
/// is known. A combination may be registered several times: the registration that has lasted
/// longest gets the presses.
class GnomeHotKeys final : public HotKeyCenter {
 public:
  static constexpr Status noSuchKey = -1;

  GnomeHotKeys(std::shared_ptr<GnomeShell> shell, std::unique_ptr<HotKeyCenter> otherwise);
  ~GnomeHotKeys() override;

  Status installEventHandler(Handler handler) override;
  Registration registerHotKey(const HotKeyConfig& config, const HotKeyIdentity& identity) override;
  void unregisterHotKey(Reference reference) override;
  void holdTyping() override;
  void releaseTyping() override;
  bool pressInWindow(std::uint32_t xkbKey, std::uint32_t modifiers) override;

 private:
  struct HotKey {
    HotKeyConfig config;
    HotKeyIdentity identity;
    /// With the other center; 0 for none.
    Reference otherwise = 0;
  };
  using HotKeys = std::map<Reference, HotKey>;

  void grab(const HotKey& hotKey);
  void servingDidChange();
  void press(const std::string& accelerator);
  HotKeys::const_iterator oldest(const std::string& accelerator) const;

  const std::shared_ptr<GnomeShell> shell_;
  const std::unique_ptr<HotKeyCenter> otherwise_;
  Handler handler_;
  HotKeys hotKeys_;
  Reference lastReference_ = 0;
};

}  // namespace stowboard
