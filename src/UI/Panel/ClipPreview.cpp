#include "UI/Panel/ClipPreview.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QStringList>
#include <QTextLayout>
#include <algorithm>

#include "Base/Unicode/Graphemes.h"
#include "Base/Unicode/Utf8.h"

namespace stowboard {

namespace {

constexpr std::size_t previewCharacters = 60;
constexpr std::size_t previewBytes = 2048;
constexpr QChar lineBreak = QChar::LineSeparator;
constexpr QChar controlDot{0xB7};
constexpr double unbounded = 1e6;

QString shown(QChar character) {
  switch (character.unicode()) {
    case u'\t':
      return QStringLiteral("    ");
    case u'\n':
    case u'\v':
    case u'\f':
    case u'\r':
    case 0x85:
    case QChar::LineSeparator:
    case QChar::ParagraphSeparator:
      return lineBreak;
    case QChar::ObjectReplacementCharacter:
      return controlDot;
    default:
      return character.category() == QChar::Other_Control ? controlDot : character;
  }
}

Qt::LayoutDirection directionOf(const QString& paragraph) {
  return paragraph.isRightToLeft() ? Qt::RightToLeft : Qt::LeftToRight;
}

std::unique_ptr<QTextLayout> layoutOf(const QString& text, const QFont& font,
                                      Qt::LayoutDirection direction, double wrapWidth) {
  auto layout = std::make_unique<QTextLayout>(text, font);
  QTextOption option(Qt::AlignLeft | Qt::AlignAbsolute);
  option.setTextDirection(direction);
  option.setWrapMode(wrapWidth < unbounded ? QTextOption::WrapAtWordBoundaryOrAnywhere
                                           : QTextOption::NoWrap);
  layout->setTextOption(option);
  layout->setCacheEnabled(true);
  layout->beginLayout();
  QTextLine line = layout->createLine();
  if (line.isValid()) line.setLineWidth(wrapWidth);
  layout->endLayout();
  return layout;
}

double unwrappedWidth(const QString& text, const QFont& font, Qt::LayoutDirection direction) {
  const auto layout = layoutOf(text, font, direction, unbounded);
  return layout->lineCount() > 0 ? layout->lineAt(0).naturalTextWidth() : 0;
}

}  // namespace

QString printable(std::string_view utf8) {
  const QString text = QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
  QString result;
  result.reserve(text.size());
  QChar previous;
  for (const QChar character : text) {
    const bool isSecondHalf = previous == u'\r' && character == u'\n';
    if (!isSecondHalf) result += shown(character);
    previous = character;
  }
  while (result.endsWith(lineBreak)) result.chop(1);
  return result;
}

QString printablePreview(const ClipItem& clip) {
  if (clip.type() == ClipType::image) return printable(clip.previewText());
  if (!clip.textContent()) return {};
  const std::string_view text = clip.textContent()->view();
  const auto head = text.substr(0, codePointStart(text, std::min(previewBytes, text.size())));
  return printable(firstGraphemes(head, previewCharacters));
}

std::vector<PreviewStretch> matches(const SearchQuery& query, const QString& printable) {
  const QByteArray utf8 = printable.toUtf8();
  const auto units = [&](std::size_t from, std::size_t to) {
    return static_cast<int>(
        QString::fromUtf8(utf8.data() + from, static_cast<qsizetype>(to - from)).size());
  };
  std::vector<PreviewStretch> stretches;
  for (const auto& [from, to] :
       query.placesIn({utf8.data(), static_cast<std::size_t>(utf8.size())}))
    stretches.push_back({units(0, from), units(from, to)});
  return stretches;
}

PreviewMeasure PreviewMeasure::of(const QString& printable, const QFont& font) {
  const QString first = printable.section(lineBreak, 0, 0);
  return {unwrappedWidth(first, font, directionOf(first)), first.size() < printable.size()};
}

PreviewLayout::PreviewLayout(const QString& printable, const QFont& font, double width)
    : font_(font) {
  const QStringList paragraphs = printable.split(lineBreak);
  int start = 0;
  for (qsizetype index = 0; index < paragraphs.size() && lineCount() < maxLines; ++index) {
    addParagraph(paragraphs[index], start, index + 1 == paragraphs.size(), width);
    start += static_cast<int>(paragraphs[index].size()) + 1;
  }
}

PreviewLayout::~PreviewLayout() = default;

void PreviewLayout::addParagraph(const QString& paragraph, int start, bool isLast, double width) {
  const Qt::LayoutDirection direction = directionOf(paragraph);
  if (lineCount() + 1 == maxLines) return addLastLine(paragraph, start, direction, !isLast, width);
  if (unwrappedWidth(paragraph, font_, direction) <= width)
    return addLine(paragraph, start, direction);
  const auto wrapped = layoutOf(paragraph, font_, direction, width);
  const int length = wrapped->lineAt(0).textLength();
  addLine(paragraph.left(length), start, direction);
  if (length < paragraph.size())
    addLastLine(paragraph.mid(length), start + length, direction, !isLast, width);
}

void PreviewLayout::addLine(const QString& text, int start, Qt::LayoutDirection direction) {
  lines_.push_back(
      {layoutOf(text, font_, direction, unbounded), start, static_cast<int>(text.size()), {}});
}

void PreviewLayout::addLastLine(const QString& text, int start, Qt::LayoutDirection direction,
                                bool hasMore, double width) {
  const QString ended = hasMore ? text + QChar(0x2026) : text;
  if (unwrappedWidth(ended, font_, direction) <= width) return addLine(ended, start, direction);
  addLine(QFontMetricsF(font_).elidedText(ended, Qt::ElideRight, width), start, direction);
}

void PreviewLayout::mark(const std::vector<PreviewStretch>& stretches) {
  for (Line& line : lines_) {
    line.marks.clear();
    for (const auto& [start, length] : stretches) {
      const int from = std::max(start - line.start, 0);
      const int to = std::min(start + length - line.start, line.length);
      if (from < to) line.marks.push_back({from, to - from});
    }
  }
}

void PreviewLayout::draw(QPainter& painter, const QPointF& topLeft,
                         const QTextCharFormat& mark) const {
  const QFontMetrics metrics(font_);
  double baseline = topLeft.y() + metrics.ascent();
  for (const Line& line : lines_) {
    const QTextLayout& layout = *line.layout;
    QList<QTextLayout::FormatRange> marks;
    for (const auto& [start, length] : line.marks) marks.push_back({start, length, mark});
    if (layout.lineCount() > 0)
      layout.draw(&painter, QPointF(topLeft.x(), baseline - layout.lineAt(0).ascent()), marks);
    baseline += metrics.height();
  }
}

}  // namespace stowboard
