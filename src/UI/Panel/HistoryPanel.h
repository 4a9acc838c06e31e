#pragma once

#include <QElapsedTimer>
#include <QRect>
#include <cstdint>
#include <functional>
#include <memory>

#include "Core/AppState.h"
#include "Services/PasteSimulating.h"
#include "UI/Controls/TextField.h"
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
  /// What it needs of the desktop. Windows are named by the window system's own numbers.
  struct Desktop {
    MainQueue mainQueue;
    std::function<bool()> isCompositing;
    /// Asks the window manager to focus our window on the user's behalf.
    std::function<void(std::uint64_t window)> bringToFront;
    /// Gives the focus back to the window that had it when the panel opened.
    std::function<void()> returnFocus;
    /// Tells the window system of a window that is about to be shown, whose outermost
    /// `shadowMargin` pixels of the screen hold nothing but a shadow. Optional.
    std::function<void(std::uint64_t window, int shadowMargin)> prepareToShow;
    /// Calls back on a click anywhere but in the window, until the result is released. Optional:
    /// without it the panel closes only when another window becomes active.
    std::function<std::shared_ptr<void>(std::uint64_t window, std::function<void()> onClickOutside)>
        watchClicksOutside;
    /// The text on the clipboard, without waiting for another program. Optional.
    ClipboardText clipboardText;
  };

  /// Without a paste simulator, which must outlive the panel, choosing a clip only closes it.
  HistoryPanel(std::shared_ptr<AppState> appState, PasteSimulating* pasteSimulator,
               Desktop desktop);
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
  /// button reports it. Asked for within 300 ms of such a click, it stays closed.
  void showRelativeTo(const QRect& anchor);

  /// Opens it below the pointer's tip, or above where there is no room below. An open panel is only
  /// raised.
  void showAtCursor();

  /// Builds ahead what the first opening needs, native window included; `onDidPrepare` is called
  /// when the work on the main thread is done.
  void prepare(std::function<void()> onDidPrepare = nullptr);

  /// Takes the shadow off an open panel where nothing is blended any more: it would be a black
  /// frame. The next opening brings it back.
  void compositingDidChange();

  /// The view's request for the settings. Absent at first.
  std::function<void()> onOpenSettings;

 private:
  void show(const QRect& anchor);
  void prepareToShow();
  void bringToFront();
  void didClickOutside();
  /// Closes it for the user, who has turned to something else.
  void dismiss();
  void didClose();

  const std::shared_ptr<AppState> appState_;
  const Desktop desktop_;
  HistoryViewModel viewModel_;
  std::unique_ptr<PopoverWindow> window_;
  /// Owned by the window.
  HistoryView* view_;
  std::shared_ptr<void> clickWatch_;
  /// Not started before the first click outside.
  QElapsedTimer sinceClickOutside_;
};

}  // namespace stowboard
