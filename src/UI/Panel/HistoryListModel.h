#pragma once

#include <QAbstractListModel>
#include <functional>

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

}  // namespace stowboard
