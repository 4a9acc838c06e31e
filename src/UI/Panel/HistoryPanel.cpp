#include "UI/Panel/HistoryPanel.h"

#include <QApplication>
#include <QCursor>
#include <chrono>
#include <utility>

#include "UI/Controls/PopoverWindow.h"
#include "UI/Panel/HistoryView.h"

namespace stowboard {

namespace {

// From the release of a button to a tray's report of the click, over the session bus if need be.
constexpr std::chrono::milliseconds clickTakes(300);

QRect squareBelowPointer() { return {QCursor::pos() + QPoint(0, 1), QSize(1, 1)}; }

}  // namespace

HistoryPanel::HistoryPanel(std::shared_ptr<AppState> appState, PasteSimulating* pasteSimulator,
                           const Platform& platform)
    : appState_(std::move(appState)),
      compositing_(*platform.compositing),
      transientWindows_(*platform.transientWindows),
      hotKeys_(*platform.hotKeyCenter),
      runLoop_(*platform.runLoop),
      focus_(*platform.workspace, *platform.bundle),
      viewModel_(appState_, pasteSimulator, *platform.runLoop) {
  auto view = std::make_unique<HistoryView>(appState_, viewModel_, *platform.pasteboard);
  view_ = view.get();
  view_->onOpenSettings = [this] {
    if (const auto callback = onOpenSettings) callback();
  };
  window_ = std::make_unique<PopoverWindow>(std::move(view));
  window_->setWindowTitle(QStringLiteral("Stowboard"));
  window_->onDidAppear = [this] { bringToFront(); };
  window_->onDidChangeDensity = [this] {
    prepareToShow();
    view_->fitDensity();
  };
  window_->onDidResignActive = [this] { dismiss(); };
  window_->onDidClose = [this] { didClose(); };
  viewModel_.onRequestClose = [this] { close(); };
  compositing_.onDidChange = [this] { compositingDidChange(); };
}

HistoryPanel::~HistoryPanel() {
  compositing_.onDidChange = nullptr;
  if (isVisible()) window_->hide();
}

bool HistoryPanel::isVisible() const { return window_->isVisible(); }

void HistoryPanel::prepare() {
  view_->prepare();
  window_->prepare(compositing_.isRunning());
  // Painted once, unseen: the first time loads fonts and icons.
  window_->grab();
}

void HistoryPanel::showRelativeTo(const QRect& anchor) {
  const auto ended = std::exchange(clickEnded_, std::nullopt);
  const bool isSameClick = heldClick_ || (ended && runLoop_.now() - *ended < clickTakes);
  heldClick_.reset();
  if (!isSameClick) show(anchor.isEmpty() ? squareBelowPointer() : anchor);
}

void HistoryPanel::showAtCursor() { show(squareBelowPointer()); }

void HistoryPanel::show(const QRect& anchor) {
  if (isVisible()) return bringToFront();
  focus_.remember();
  viewModel_.reset();
  appState_->setPanelVisible(true);
  window_->prepare(compositing_.isRunning());
  window_->placeBy(anchor);
  prepareToShow();
  heldClick_.reset();
  clickWatch_ = transientWindows_.watch(window_->winId(), [this] { didClickOutside(); });
  clickWatch_->onFocus = [this] { hotKeys_.releaseTyping(); };
  window_->show();
  view_->viewDidAppear();
  window_->raise();
  window_->activateWindow();
}

void HistoryPanel::prepareToShow() {
  transientWindows_.prepareToShow(window_->winId(), window_->shadowMargin());
}

// An open panel loses its shadow where nothing is blended any more: it would be a black frame. The
// next opening brings it back.
void HistoryPanel::compositingDidChange() {
  if (!isVisible() || !window_->isShadowed() || compositing_.isRunning()) return;
  window_->prepare(false);
  prepareToShow();
}

void HistoryPanel::bringToFront() {
  window_->raise();
  if (!window_->isActiveWindow()) focus_.take(window_->winId());
}

// Input methods show what there is to choose from in windows of their own, which cannot be told
// from others; another program's window would take the focus all the same, and so close the panel.
void HistoryPanel::didClickOutside() {
  // A menu of the panel's is a window of its own.
  if (QApplication::activePopupWidget() || view_->isComposing()) return;
  // A second button, while the one that closed the panel is still down.
  if (!clickWatch_) return;
  heldClick_ = std::move(clickWatch_);
  heldClick_->onRelease = [this] {
    clickEnded_ = runLoop_.now();
    heldClick_.reset();
  };
  dismiss();
}

void HistoryPanel::close() {
  if (!isVisible()) return;
  window_->hide();
  focus_.giveBack();
}

void HistoryPanel::dismiss() { window_->hide(); }

void HistoryPanel::didClose() {
  clickWatch_.reset();
  hotKeys_.releaseTyping();
  appState_->setPanelVisible(false);
}

}  // namespace stowboard
