#pragma once

#include "Platform/ApplicationIdentifying.h"

namespace stowboard {

/// Takes a window's class for its application's id.
class FakeApplicationIdentifying final : public ApplicationIdentifying {
 public:
  std::optional<std::string> applicationId(const WindowTraits& window) const override {
    return window.wmClass.empty() ? std::nullopt : std::optional(window.wmClass);
  }
  bool isTerminal(const std::string& id) const override { return id == "Terminal"; }
};

}  // namespace stowboard
