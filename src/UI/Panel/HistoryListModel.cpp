#include "UI/Panel/HistoryListModel.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace stowboard {

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

}  // namespace stowboard
