#pragma once

#include <memory>

#include "Services/LoginItemService.h"
#include "UI/Settings/SettingsViewModel.h"
#include "fakes/Clips.h"
#include "fakes/FakeAccessibilityTrust.h"
#include "fakes/FakeLoginItems.h"
#include "fakes/FakeRunLoop.h"

namespace stowboard {

/// A settings view model on a desktop of fakes, with a history of three clips.
struct SettingsFixture {
  explicit SettingsFixture(const AppSettings& settings = {})
      : appState(std::make_shared<AppState>(
            AppState::Clips{textClip("three"), textClip("two"), textClip("one")}, settings)) {}

  const AppSettings& settings() const { return appState->settings(); }

  FakeRunLoop runLoop;
  FakeAccessibilityTrust trust;
  FakeLoginItems loginItems;
  LoginItemService loginItem{loginItems};
  PermissionHelper permission{trust};
  std::shared_ptr<AppState> appState;
  std::unique_ptr<SettingsViewModel> viewModel = std::make_unique<SettingsViewModel>(
      appState, permission, loginItem, [this](auto task) { runLoop.post(std::move(task)); });
};

}  // namespace stowboard
