#pragma once

#include <QCache>
#include <QFont>
#include <QLocale>
#include <QPalette>
#include <QString>
#include <QStyledItemDelegate>
#include <memory>
#include <unordered_set>

#include "Models/AppSettings.h"
#include "Models/ClipItem.h"
#include "UI/Looks/Colors.h"
#include "UI/Panel/ClipPreview.h"
#include "UI/Panel/ThumbnailCache.h"

namespace stowboard {

/// The words of a history row, in the language of the settings. Main thread.
class RowTexts {
 public:
  /// The rows that have a shortcut: one for each digit from 1.
  static constexpr int shortcutCount = 9;

  explicit RowTexts(const AppSettings& settings);

  /// Whether rows made with these settings would read the same.
  bool matches(const AppSettings& settings) const;

  /// The moment of capture.
  QString date(const ClipItem& clip) const;
  /// The symbols before the digit of a shortcut, for instance ⌘⌥.
  QString shortcutSymbols() const;
  /// The whole row, for a screen reader. `row` counts from 0.
  QString description(const ClipItem& clip, int row) const;

 private:
  AppLanguage language_;
  DirectPasteModifierPair pair_;
  QLocale dateLocale_;
};

/// Draws the rows of a HistoryListModel: thumbnail or type icon, preview, moment of capture, and
/// the badge with the shortcut. Keeps what it measures, so the height of a row that has been
/// measured is a look-up. Main thread.
class HistoryRowView : public QStyledItemDelegate {
 public:
  /// Of the list, in device-independent pixels.
  static constexpr int rowWidth = 480;

  /// Both must outlive it.
  HistoryRowView(const RowTexts& texts, ThumbnailCache& thumbnails);

  /// To be called at first, and when the font, the palette or the texts have changed. `font` is the
  /// desktop's application font. Rows may have another height after it.
  void setLooks(const QFont& font, const QPalette& palette);

  /// What is looked for, to be marked where it occurs.
  void setQuery(const std::string& query);

  /// Measures a clip's preview ahead of its first layout.
  void measure(const ClipItem& clip) { measured(clip); }

  /// Forgets what it has of every other clip.
  void keepOnly(const std::unordered_set<Uuid>& ids);

  void paint(QPainter* painter, const QStyleOptionViewItem& option,
             const QModelIndex& index) const override;
  QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

 private:
  struct Row;
  struct Looks {
    QFont body{}, caption{}, badge{};
    int bodyHeight = 0, captionHeight = 0;
    int badgeSymbolsWidth = 0, badgeDigitWidth = 0;
    QString badgeSymbols{};
    Colors colors{QPalette()};
  };

  PreviewMeasure measured(const ClipItem& clip) const;
  const PreviewLayout& layout(const ClipItem& clip, int width) const;
  int badgeWidth() const;
  int textWidth(int row) const;
  int textHeight(const ClipItem& clip, int row) const;
  Row rowFor(const QStyleOptionViewItem& option, const QModelIndex& index) const;

  void paintBackground(QPainter& painter, const Row& row) const;
  void paintThumbnail(QPainter& painter, const Row& row) const;
  void paintSymbol(QPainter& painter, const Row& row) const;
  void paintText(QPainter& painter, const Row& row) const;
  void paintPreview(QPainter& painter, const Row& row, const QRect& column) const;
  void paintBadge(QPainter& painter, const Row& row) const;

  struct CachedLayout {
    int width;
    PreviewLayout layout;
    /// Which query's matches are marked.
    int query = 0;
  };
  const RowTexts& texts_;
  ThumbnailCache& thumbnails_;
  Looks looks_;
  std::string queryText_;
  SearchQuery query_{""};
  /// Counts the queries; the first one marks nothing.
  int queryNumber_ = 0;
  mutable QCache<Uuid, PreviewMeasure> measures_;
  mutable QCache<Uuid, CachedLayout> layouts_;
};

}  // namespace stowboard
