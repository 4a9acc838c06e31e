#include "UI/Panel/HistoryPanel.h"

#include <QCursor>
#include <chrono>
#include <utility>

#include "UI/Controls/PopoverWindow.h"
#include "UI/Panel/HistoryView.h"

namespace stowboard {

namespace {

// From the press of a button to a tray's report of the click, over the session bus if need be.
constexpr std::chrono::milliseconds clickTakes(300);

QRect squareBelowPointer() { return {QCursor::pos() + QPoint(0, 1), QSize(1, 1)}; }

}  // namespace

HistoryPanel::HistoryPanel(std::shared_ptr<AppState> appState, PasteSimulating* pasteSimulator,
                           Desktop desktop)
    : appState_(std::move(appState)),
      desktop_(std::move(desktop)),
      viewModel_(appState_, pasteSimulator, desktop_.mainQueue) {
  auto view = std::make_unique<HistoryView>(appState_, viewModel_);
  view_ = view.get();
  view_->onOpenSettings = [this] {
    if (const auto callback = onOpenSettings) callback();
  };
  view_->clipboardText = desktop_.clipboardText;
  window_ = std::make_unique<PopoverWindow>(std::move(view));
  window_->setWindowTitle(QStringLiteral("Stowboard"));
  window_->onDidAppear = [this] { bringToFront(); };
  window_->onDidResignActive = [this] { dismiss(); };
  window_->onDidClose = [this] { didClose(); };
  viewModel_.onRequestClose = [this] { close(); };
}

HistoryPanel::~HistoryPanel() {
  if (isVisible()) window_->hide();
}

bool HistoryPanel::isVisible() const { return window_->isVisible(); }

void HistoryPanel::prepare(std::function<void()> onDidPrepare) {
  view_->prepare(std::move(onDidPrepare));
  window_->prepare(desktop_.isCompositing());
  // Painted once, unseen: the first time loads fonts and icons.
  window_->grab();
}

void HistoryPanel::showRelativeTo(const QRect& anchor) {
  const bool isSameClick =
      sinceClickOutside_.isValid() && !sinceClickOutside_.hasExpired(clickTakes.count());
  if (isSameClick) return sinceClickOutside_.invalidate();
  show(anchor.isEmpty() ? squareBelowPointer() : anchor);
}

void HistoryPanel::showAtCursor() { show(squareBelowPointer()); }

void HistoryPanel::show(const QRect& anchor) {
  if (isVisible()) return bringToFront();
  viewModel_.reset();
  appState_->setPanelVisible(true);
  window_->prepare(desktop_.isCompositing());
  window_->placeBy(anchor);
  prepareToShow();
  if (desktop_.watchClicksOutside) {
    clickWatch_ = desktop_.watchClicksOutside(window_->winId(), [this] { didClickOutside(); });
  }
  window_->show();
  view_->viewDidAppear();
  window_->raise();
  window_->activateWindow();
}

void HistoryPanel::prepareToShow() {
  if (desktop_.prepareToShow) desktop_.prepareToShow(window_->winId(), window_->shadowMargin());
}

void HistoryPanel::compositingDidChange() {
  if (!isVisible() || !window_->isShadowed() || desktop_.isCompositing()) return;
  window_->prepare(false);
  prepareToShow();
}

// Hot keys and tray clicks are not seen by the toolkit, whose own request carries the time of the
// user's last act in one of our windows; window managers refuse the focus for such an old one.
void HistoryPanel::bringToFront() {
  window_->raise();
  if (!window_->isActiveWindow()) desktop_.bringToFront(window_->winId());
}

// Input methods show what there is to choose from in windows of their own, which cannot be told
// from others; another program's window would take the focus all the same, and so close the panel.
void HistoryPanel::didClickOutside() {
  if (window_->hasPopup() || view_->isComposing()) return;
  sinceClickOutside_.start();
  dismiss();
}

void HistoryPanel::close() {
  if (!isVisible()) return;
  window_->hide();
  desktop_.returnFocus();
}

void HistoryPanel::dismiss() { window_->hide(); }

void HistoryPanel::didClose() {
  clickWatch_.reset();
  appState_->setPanelVisible(false);
}

}  // namespace stowboard
