#pragma once

#include <QRect>
#include <cstdint>
#include <functional>
#include <memory>

#include "Core/AppState.h"
#include "Services/PasteSimulating.h"
#include "UI/HistoryViewModel.h"

namespace stowboard {

/// The window that puts the history on screen. Main thread.
class HistoryPanel {
 public:
  struct Desktop {
    MainQueue mainQueue;
    std::function<bool()> isCompositing;
    /// Asks the window manager to focus our window on the user's behalf.
    std::function<void(std::uint64_t window)> bringToFront;
    /// Gives the focus back to the window that had it when the panel opened.
    std::function<void()> returnFocus;
  };

  HistoryPanel(std::shared_ptr<AppState>, PasteSimulating*, Desktop) {}
  bool isVisible() const { return false; }
  void close() {}
  void showRelativeTo(const QRect&) {}
  void showAtCursor() {}
  void prepare() {}

  std::function<void()> onOpenSettings;
};

}  // namespace stowboard
