#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "Platform/HotKeyCenter.h"
#include "Platform/RunLoop.h"

namespace stowboard {

/// Global hot keys by the desktop portal (org.freedesktop.portal.GlobalShortcuts), which asks the
/// user at the first time; which keys they are is the desktop's to say. Until that has come about,
/// and where there is no such portal, they are another center's.
///
/// The portal is asked for all of them together, some time after the last was registered, so that
/// one question is asked, and none when they are given back at once.
class PortalHotKeys final : public HotKeyCenter {
 public:
  /// Where a service better than this one would have taken the hot keys by then.
  static constexpr std::chrono::seconds asksAfter{3};

  /// Null without a session bus. `applicationId` names an installed desktop file; `loop` must
  /// outlive this.
  static std::unique_ptr<PortalHotKeys> create(const std::string& applicationId, RunLoop& loop,
                                               std::unique_ptr<HotKeyCenter> otherwise);
  ~PortalHotKeys() override;

  Status installEventHandler(Handler handler) override;
  Registration registerHotKey(const HotKeyConfig& config, const HotKeyIdentity& identity) override;
  void unregisterHotKey(Reference reference) override;
  void holdTyping() override;
  void releaseTyping() override;
  bool pressInWindow(std::uint32_t xkbKey, std::uint32_t modifiers) override;

 private:
  class Portal;
  struct HotKey {
    HotKeyConfig config;
    HotKeyIdentity identity;
    /// With the other center; 0 for none.
    Reference otherwise = 0;
  };

  PortalHotKeys(RunLoop& loop, std::unique_ptr<HotKeyCenter> otherwise);

  void askSoon();
  void ask();
  void didBind();
  void press(const std::string& name);

  RunLoop& loop_;
  const std::unique_ptr<HotKeyCenter> otherwise_;
  Handler handler_;
  std::map<Reference, HotKey> hotKeys_;
  Reference lastReference_ = 0;
  // Counts what has changed since the portal was asked.
  std::uint64_t changes_ = 0;
  bool isBound_ = false;
  std::unique_ptr<Portal> portal_;
  const std::shared_ptr<PortalHotKeys*> self_ = std::make_shared<PortalHotKeys*>(this);
};

}  // namespace stowboard
