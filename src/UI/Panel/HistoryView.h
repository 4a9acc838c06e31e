#pragma once

#include <QSize>
#include <QWidget>
#include <functional>
#include <memory>

#include "Core/AppState.h"
#include "Platform/Pasteboard.h"
#include "UI/Panel/HistoryListView.h"
#include "UI/Panel/HistoryPreparation.h"
#include "UI/Panel/HistoryRowView.h"
#include "UI/Panel/HistoryViewModel.h"
#include "UI/Panel/PanelCommand.h"
#include "UI/Panel/ThumbnailCache.h"

namespace stowboard {

class EmptyStateView;
class SearchField;
class SymbolButton;

/// The content of the history panel: a search field over the list of clips, and the panel's
/// keyboard. Shows the state of its view model and forwards what the user does to it. Paints no
/// background of its own. Main thread.
class HistoryView : public QWidget {
 public:
  /// In device-independent pixels; it is never another one.
  static constexpr QSize size{HistoryRowView::rowWidth, 300};

  /// The view model and the pasteboard, which the search field pastes from, must outlive it.
  HistoryView(std::shared_ptr<AppState> appState, HistoryViewModel& viewModel,
              const Pasteboard& pasteboard);
  ~HistoryView() override;

  /// To be called each time that it comes on screen: shows the current state with the list at its
  /// top and puts the caret in the search field.
  void viewDidAppear();

  /// Whether an input method composes text for the search field.
  bool isComposing() const;

  /// Does ahead, a slice at a time while the event loop is idle, what the first opening and the
  /// first search would otherwise wait for; thumbnails and search forms on threads of their own.
  /// To be called once after the start; later clips get their thumbnails ahead, too.
  void prepare();

  /// Lays its rows out anew where the screen's density has changed; done also at each showing.
  void fitDensity();

  /// Opens the settings window. Absent at first.
  std::function<void()> onOpenSettings;

 protected:
  void changeEvent(QEvent* event) override;
  void showEvent(QShowEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

 private:
  void layOut();
  void connectParts();
  void updateLooks();
  void updateTexts();

  void setNeedsRefresh();
  void refresh();
  void showClips();
  void showEmptyState(bool isEmpty);
  void follow(const AppState::Clips& clips);
  void warmUp();

  void perform(const PanelCommand& command);
  void movePage(int direction);
  void click(int row);

  const std::shared_ptr<AppState> appState_;
  HistoryViewModel& viewModel_;
  RowTexts texts_;
  ThumbnailCache thumbnails_;
  HistoryRowView rowView_;
  HistoryListModel model_;
  HistoryPreparation preparation_;
  SearchField* searchField_;
  SymbolButton* clearButton_;
  HistoryListView* list_;
  EmptyStateView* emptyState_;
  bool needsRefresh_ = false;
  bool isPrepared_ = false;
  qreal devicePixelRatio_ = 0;
  Cancellables cancellables_;
};

}  // namespace stowboard
