#include "Services/LoginItemService.h"

#include "Base/Log.h"

namespace stowboard {

std::optional<LoginItemError> LoginItemService::setEnabled(bool isEnabled) {
  const auto failure = isEnabled ? items_.registerApplication() : items_.unregisterApplication();
  if (failure) {
    Log::settings.error("Login item toggle failed: {}", *failure);
    return LoginItemError{*failure};
  }
  Log::settings.info("Login item {}", isEnabled ? "enabled" : "disabled");
  return std::nullopt;
}

}  // namespace stowboard
