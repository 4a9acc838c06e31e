#include "UI/Panel/HistoryListView.h"

#include <QMouseEvent>
#include <QScrollBar>
#include <algorithm>
#include <iterator>
#include <utility>

namespace stowboard {

namespace {

// Left free between a selected row and the edge that it was scrolled in from.
constexpr int scrollMargin = 6;

}  // namespace

void HistoryListModel::setClips(AppState::Clips clips) {
  if (std::ranges::equal(clips, clips_, {}, &ClipItem::id, &ClipItem::id)) return;
  beginResetModel();
  clips_ = std::move(clips);
  endResetModel();
}

int HistoryListModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(std::ssize(clips_));
}

QVariant HistoryListModel::data(const QModelIndex& index, int role) const {
  if (role != Qt::AccessibleTextRole || !index.isValid()) return {};
  return describe_(clip(index.row()), index.row());
}

HistoryListView::HistoryListView(QWidget* parent) : QListView(parent) {
  setFrameShape(QFrame::NoFrame);
  setFocusPolicy(Qt::NoFocus);
  viewport()->setAutoFillBackground(false);
  setVerticalScrollMode(ScrollPerPixel);
  setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  setSelectionMode(SingleSelection);
  setEditTriggers(NoEditTriggers);
  setAutoScroll(false);
}

void HistoryListView::setScrollBarColor(const QColor& color) {
  verticalScrollBar()->setStyleSheet(
      QStringLiteral("QScrollBar:vertical { background: transparent; width: 8px; margin: 2px 0; }"
                     "QScrollBar::handle:vertical { background: %1;"
                     " border-radius: 2px; margin: 0 2px; min-height: 24px; }"
                     "QScrollBar::add-line, QScrollBar::sub-line { height: 0; }"
                     "QScrollBar::add-page, QScrollBar::sub-page { background: none; }")
          .arg(color.name(QColor::HexArgb)));
}

void HistoryListView::showSelection(int row) {
  const QModelIndex index = row < 0 ? QModelIndex() : model()->index(row, 0);
  if (index == currentIndex()) return;
  setCurrentIndex(index);
  if (index.isValid()) scrollIntoView(index);
}

void HistoryListView::scrollIntoView(const QModelIndex& index) {
  executeDelayedItemsLayout();
  const QRect wanted = visualRect(index).adjusted(0, -scrollMargin, 0, scrollMargin);
  QScrollBar* bar = verticalScrollBar();
  if (wanted.top() < 0) {
    bar->setValue(bar->value() + wanted.top());
  } else if (wanted.bottom() >= viewport()->height()) {
    bar->setValue(bar->value() + wanted.bottom() + 1 - viewport()->height());
  }
}

int HistoryListView::rowsPerPage(int row, int direction) const {
  int rows = 0;
  int height = 0;
  for (QModelIndex next = model()->index(row + direction, 0); next.isValid();
       next = model()->index(next.row() + direction, 0)) {
    height += sizeHintForIndex(next).height();
    if (height > viewport()->height()) break;
    ++rows;
  }
  return std::max(rows, 1);
}

void HistoryListView::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  pressed_ = indexAt(event->position().toPoint());
  if (!pressed_.isValid()) return;
  setCurrentIndex(pressed_);
  if (onPress) onPress(pressed_.row());
}

// The list itself would select what the pointer is dragged over.
void HistoryListView::mouseMoveEvent(QMouseEvent* /*event*/) {}

void HistoryListView::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  const QPersistentModelIndex pressed = std::exchange(pressed_, {});
  if (!pressed.isValid()) return;
  if (pressed == indexAt(event->position().toPoint()) && onClick) onClick(pressed.row());
  if (onRelease) onRelease();
}

void HistoryListView::hideEvent(QHideEvent* event) {
  pressed_ = QModelIndex();
  QListView::hideEvent(event);
}

void HistoryListView::mouseDoubleClickEvent(QMouseEvent* event) { mousePressEvent(event); }

}  // namespace stowboard
