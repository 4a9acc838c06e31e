#pragma once

#include <string>
#include <utility>
#include <vector>

#include "Platform/StatusItem.h"

namespace stowboard {

/// A panel that takes the icon at once, and in which the test clicks.
class FakeStatusItem final : public StatusItem {
 public:
  /// Empty while it is not shown.
  Content content;
  bool isShown() const { return content.menu != nullptr; }
  int menuChanges = 0;

  void show(Content shown) override { content = std::move(shown); }
  void hide() override { content = {}; }
  void menuDidChange() override { menuChanges += 1; }

  /// The user chooses the entry of that title, where it can be chosen.
  void choose(const std::string& title) const {
    for (const auto& entry : content.menu()) {
      if (entry.title == title && entry.action) entry.action();
    }
  }
};

}  // namespace stowboard
