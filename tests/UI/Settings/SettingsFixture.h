#pragma once

#include <memory>

#include "Services/LoginItemService.h"
#include "UI/Settings/SettingsViewModel.h"
#include "fakes/Clips.h"
#include "fakes/FakeAccessibilityTrust.h"
#include "fakes/FakePlatform.h"

namespace stowboard {

/// A settings view model on a desktop of fakes, with a history of three clips.
struct SettingsFixture {
  explicit SettingsFixture(const AppSettings& settings = {})
      : appState(std::make_shared<AppState>(textClips({"three", "two", "one"}), settings)) {}

  const AppSettings& settings() const { return appState->settings(); }
  template <typename Value>
  void change(Value AppSettings::* field, Value value) {
    AppSettings changed = settings();
    changed.*field = value;
    appState->updateSettings(changed);
    runLoop.runUntilIdle();
  }

  FakePlatform fake;
  FakeRunLoop& runLoop = fake.runLoop();
  FakeLoginItems& loginItems = static_cast<FakeLoginItems&>(*fake.platform.loginItems);
  FakeAccessibilityTrust trust;
  LoginItemService loginItem{loginItems};
  PermissionHelper permission{trust};
  std::shared_ptr<AppState> appState;
  std::unique_ptr<SettingsViewModel> viewModel =
      std::make_unique<SettingsViewModel>(appState, permission, loginItem, runLoop);
};

}  // namespace stowboard
