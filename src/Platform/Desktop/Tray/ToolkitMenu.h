#pragma once

#include <QMenu>
#include <functional>

#include "Platform/StatusItem.h"

namespace stowboard {

/// The status item's menu where the program shows it itself; made anew each time it is about to
/// show. While it is open, the keys that its entries show choose them.
class ToolkitMenu : public QMenu {
 public:
  /// `menu` gives the menu of the moment.
  explicit ToolkitMenu(std::function<StatusMenu()> menu);

 protected:
  void keyPressEvent(QKeyEvent* event) override;

 private:
  void add(const StatusMenuEntry& entry);
};

}  // namespace stowboard
