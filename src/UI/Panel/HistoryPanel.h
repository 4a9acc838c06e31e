#pragma once

#include <QRect>
#include <functional>
#include <memory>
#include <optional>

#include "Core/AppState.h"
#include "Platform/Platform.h"
#include "Services/PasteSimulating.h"
#include "UI/Controls/WindowFocus.h"
#include "UI/Panel/HistoryViewModel.h"

namespace stowboard {

class HistoryView;
class PopoverWindow;

/// Puts the history on screen as a popover, at the pointer or by the status item, and keeps the
/// state's `isPanelVisible` in step with it. It closes when it is told to, on Escape, and by itself
/// when the user turns to anything else; every opening starts without a query and on the first row.
/// Main thread.
class HistoryPanel {
 public:
  /// The paste simulator and the platform must outlive the panel. Without a simulator, choosing a
  /// clip only closes it.
  HistoryPanel(std::shared_ptr<AppState> appState, PasteSimulating* pasteSimulator,
               const Platform& platform);
  ~HistoryPanel();
  HistoryPanel(const HistoryPanel&) = delete;
  HistoryPanel& operator=(const HistoryPanel&) = delete;

  bool isVisible() const;

  /// Closes it on the user's request, who is given back the window of before. Does nothing when it
  /// is closed.
  void close();

  /// Opens it by the status item's button, in Qt's global coordinates, below or above, whichever
  /// side has room; at the pointer when the rectangle is empty. An open panel is only raised.
  ///
  /// The click on the button of an open panel has closed it already, as a click outside, when the
  /// button reports it. Asked for before such a click has ended, or within 300 ms, it stays closed.
  void showRelativeTo(const QRect& anchor);

  /// Opens it below the pointer's tip, or above where there is no room below. An open panel is only
  /// raised.
  void showAtCursor();

  /// Builds ahead what the first opening needs, native window included.
  void prepare();

  /// The view's request for the settings. Absent at first.
  std::function<void()> onOpenSettings;

 private:
  void show(const QRect& anchor);
  void prepareToShow();
  void compositingDidChange();
  void bringToFront();
  void didClickOutside();
  /// Closes it for the user, who has turned to something else.
  void dismiss();
  void didClose();

  const std::shared_ptr<AppState> appState_;
  Compositing& compositing_;
  TransientWindows& transientWindows_;
  HotKeyCenter& hotKeys_;
  RunLoop& runLoop_;
  WindowFocus focus_;
  HistoryViewModel viewModel_;
  std::unique_ptr<PopoverWindow> window_;
  /// Owned by the window.
  HistoryView* view_;
  std::unique_ptr<TransientWindows::Watch> clickWatch_;
  /// Of a click outside whose button is still down.
  std::unique_ptr<TransientWindows::Watch> heldClick_;
  /// When the last click outside did; absent before the first.
  std::optional<RunLoop::TimePoint> clickEnded_;
};

}  // namespace stowboard
