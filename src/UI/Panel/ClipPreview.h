#pragma once

#include <QFont>
#include <QString>
#include <QTextFormat>
#include <memory>
#include <vector>

#include "Base/Unicode/SearchQuery.h"
#include "Models/ClipItem.h"

class QPainter;
class QPointF;
class QTextLayout;

namespace stowboard {

/// A text fit to be shown on screen, whatever is in it: every kind of line break becomes U+2028,
/// tabs become spaces, control characters dots. Breaks at the end go.
QString printable(std::string_view utf8);

/// A part of a printable text, in UTF-16 units.
struct PreviewStretch {
  int start, length;
};

/// The preview of a clip, printable. Reads the clip's first 2 KB only, so that its time has a bound
/// whatever the clip holds; more than 60 characters of any writing.
QString printablePreview(const ClipItem& clip);

/// Where the query occurs in a printable preview, in its UTF-16 units.
std::vector<PreviewStretch> matches(const SearchQuery& query, const QString& printable);

/// What a preview needs to know of its text to tell how many lines it takes, at any width.
struct PreviewMeasure {
  double width = 0;       ///< Of the first line, unwrapped, in device-independent pixels.
  bool hasBreak = false;  ///< Whether further lines follow it.

  static PreviewMeasure of(const QString& printable, const QFont& font);
  /// 1 or 2.
  int lineCount(double availableWidth) const { return hasBreak || width > availableWidth ? 2 : 1; }
};

/// A printable text laid out in at most two lines, the last of which ends in "…" when there is
/// more. Each line runs in the direction of its own paragraph, and all begin at the left. Keeps the
/// glyphs, so drawing it again is quick.
class PreviewLayout {
 public:
  static constexpr int maxLines = 2;

  PreviewLayout(const QString& printable, const QFont& font, double width);
  ~PreviewLayout();

  /// Marks stretches of the printable text, as far as they are shown.
  void mark(const std::vector<PreviewStretch>& stretches);

  int lineCount() const { return static_cast<int>(lines_.size()); }
  /// Draws in the painter's pen, and in the mark's colours what is marked. The lines are one font
  /// height apart: a line never takes more, though another font stands in for characters that this
  /// one lacks.
  void draw(QPainter& painter, const QPointF& topLeft,
            const QTextCharFormat& mark = QTextCharFormat()) const;

 private:
  struct Line {
    std::unique_ptr<QTextLayout> layout;
    /// Of the printable text.
    int start, length;
    std::vector<PreviewStretch> marks;
  };

  void addParagraph(const QString& paragraph, int start, bool isLast, double width);
  void addLine(const QString& text, int start, Qt::LayoutDirection direction);
  void addLastLine(const QString& text, int start, Qt::LayoutDirection direction, bool hasMore,
                   double width);

  const QFont font_;
  std::vector<Line> lines_;
};

}  // namespace stowboard
