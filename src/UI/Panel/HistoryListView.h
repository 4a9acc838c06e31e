#pragma once

#include <QAbstractListModel>
#include <QListView>
#include <functional>
#include <utility>

#include "Core/AppState.h"

namespace stowboard {

/// The clips that the history view lists, in its order. Main thread.
class HistoryListModel : public QAbstractListModel {
 public:
  /// What a screen reader says of a row.
  using Describe = std::function<QString(const ClipItem& clip, int row)>;

  explicit HistoryListModel(Describe describe) : describe_(std::move(describe)) {}

  /// Resets the model, unless they are the clips that it has.
  void setClips(AppState::Clips clips);
  const ClipItem& clip(int row) const { return clips_[static_cast<std::size_t>(row)]; }

  int rowCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;

 private:
  const Describe describe_;
  AppState::Clips clips_;
};

/// The list of the history view: rows of any height, a slim scroll bar, and a mouse that never
/// takes the focus. Its selection is set from outside. Main thread.
class HistoryListView : public QListView {
 public:
  explicit HistoryListView(QWidget* parent);

  /// To be called when the palette has changed.
  void setScrollBarColor(const QColor& color);

  /// To be called when rows may have another height.
  void layOutAgain() { scheduleDelayedItemsLayout(); }

  /// Selects the row and scrolls it into view; -1 for none.
  void showSelection(int row);
  /// How many rows from this one in a direction, 1 or -1, make a page: at least one.
  int rowsPerPage(int row, int direction) const;

  /// Whether the left button is down on a row. Nothing may move under it then.
  bool isPressed() const { return pressed_.isValid(); }

  /// The left button went down on a row, which is selected where it is; up again on the same one;
  /// and up anywhere. Absent at first.
  std::function<void(int row)> onPress;
  std::function<void(int row)> onClick;
  std::function<void()> onRelease;

 protected:
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void hideEvent(QHideEvent* event) override;

 private:
  void scrollIntoView(const QModelIndex& index);

  QPersistentModelIndex pressed_;
};

}  // namespace stowboard
