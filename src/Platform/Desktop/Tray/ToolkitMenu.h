#pragma once

#include <QMenu>
#include <functional>

#include "Platform/StatusItem.h"

namespace stowboard {

/// The status item's menu where the program shows it itself; made anew each time it is about to
/// show.
class ToolkitMenu : public QMenu {
 public:
  /// `menu` gives the menu of the moment.
  explicit ToolkitMenu(std::function<StatusMenu()> menu);

 private:
  void add(const StatusMenuEntry& entry);
};

}  // namespace stowboard
