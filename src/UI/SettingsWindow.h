#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>

#include "UI/SettingsViewModel.h"

namespace stowboard {

class SettingsWindow {
 public:
  explicit SettingsWindow(std::unique_ptr<SettingsViewModel>) {}
  void setTitle(std::string_view) {}
  void show() {}

  std::function<void(std::uint64_t window)> bringToFront;
};

}  // namespace stowboard
