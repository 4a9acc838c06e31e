#pragma once

#include <memory>

#include "Core/AppState.h"
#include "Services/LoginItemServicing.h"
#include "UI/HistoryViewModel.h"
#include "Utils/PermissionHelper.h"

namespace stowboard {

class SettingsViewModel {
 public:
  SettingsViewModel(std::shared_ptr<AppState>, PermissionHelper&, LoginItemServicing&, MainQueue) {}
};

}  // namespace stowboard
