#pragma once

#include "Base/Log.h"
#include "Platform/LoginItems.h"
#include "Services/LoginItemServicing.h"

namespace stowboard {

/// Turns launching at login on and off. The system, not the program, keeps the setting.
class LoginItemService : public LoginItemServicing {
 public:
  /// `items` must outlive the service.
  explicit LoginItemService(LoginItems& items) : items_(items) {}

  bool isEnabled() const override { return items_.status() == LoginItems::Status::enabled; }
  std::optional<LoginItemError> setEnabled(bool isEnabled) override {
    const auto failure = isEnabled ? items_.registerApplication() : items_.unregisterApplication();
    if (failure) {
      Log::settings.error("Login item toggle failed: {}", *failure);
      return LoginItemError{*failure};
    }
    Log::settings.info("Login item {}", isEnabled ? "enabled" : "disabled");
    return std::nullopt;
  }

 private:
  LoginItems& items_;
};

}  // namespace stowboard
