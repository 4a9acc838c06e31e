#pragma once

#include <algorithm>
#include <map>
#include <utility>
#include <vector>

#include "Platform/HotKeyCenter.h"

namespace stowboard {

/// Hot keys that the test presses.
class FakeHotKeyCenter : public HotKeyCenter {
 public:
  struct Held {
    HotKeyConfig config;
    HotKeyIdentity identity;
  };

  Status installStatus = noError;
  Status registerStatus = noError;
  /// Combinations that another program holds.
  std::vector<HotKeyConfig> taken;
  int installations = 0;
  std::map<Reference, Held> held;
  bool holdsTyping = false;

  /// Presses the combination: the oldest registration gets it, if there is one.
  void press(const HotKeyConfig& config) {
    const auto found = std::find_if(held.begin(), held.end(),
                                    [&](const auto& each) { return each.second.config == config; });
    if (found != held.end()) deliver(HotKeyIdentity(found->second.identity));
  }
  void deliver(const HotKeyIdentity& identity) { handler_(identity); }

  Status installEventHandler(Handler handler) override {
    installations += 1;
    if (installStatus == noError) handler_ = std::move(handler);
    return installStatus;
  }

  Registration registerHotKey(const HotKeyConfig& config, const HotKeyIdentity& identity) override {
    if (std::find(taken.begin(), taken.end(), config) != taken.end()) return {-9878, 0};
    if (registerStatus != noError) return {registerStatus, 0};
    held[++lastReference_] = {config, identity};
    return {noError, lastReference_};
  }

  void unregisterHotKey(Reference reference) override { held.erase(reference); }
  void holdTyping() override { holdsTyping = true; }
  void releaseTyping() override { holdsTyping = false; }

 private:
  Handler handler_;
  Reference lastReference_ = 0;
};

}  // namespace stowboard
