#pragma once

#include <functional>
#include <string>
#include <vector>

class QMenu;

namespace stowboard {

/// One line of the status item's menu, whatever shows it.
struct StatusMenuEntry {
  /// Empty for a separator.
  std::string title;
  /// The key that goes with Ctrl; empty for none.
  std::string keyEquivalent;
  /// Null for an entry that cannot be chosen.
  std::function<void()> action;

  bool isSeparator() const { return title.empty(); }
  bool isEnabled() const { return action != nullptr; }
};

/// The menu from top to bottom.
using StatusMenu = std::vector<StatusMenuEntry>;

/// Whether they look the same.
bool haveSameLook(const StatusMenu& left, const StatusMenu& right);

/// Replaces what the toolkit's menu holds.
void fill(QMenu& menu, const StatusMenu& entries);

}  // namespace stowboard
