#include "UI/Panel/HistoryRowView.h"

#include <fmt/format.h>

#include <QDateTime>
#include <QFontMetrics>
#include <QPainter>
#include <algorithm>
#include <cmath>
#include <utility>

#include "UI/Looks/Fonts.h"
#include "UI/Looks/Icons.h"
#include "UI/Panel/HistoryListView.h"
#include "Utils/L10n.h"

namespace stowboard {

namespace {

// Between the edges of the view and a row's background; the scroll bar finds room in it. The list
// begins and ends with a little more.
constexpr int inset = 8;
constexpr int listPadding = 6;
// Between a row's background and what it shows.
constexpr int sidePadding = 6;
constexpr int verticalPadding = 2;
constexpr int backgroundRadius = 6;

constexpr int itemSpacing = 10;
constexpr int lineSpacing = 3;
constexpr int iconSize = 16;
constexpr int badgeSidePadding = 5;
constexpr int badgeVerticalPadding = 2;
constexpr int badgeRadius = 4;

constexpr int contentLeft = inset + sidePadding;
constexpr int contentRight = HistoryRowView::rowWidth - inset - sidePadding;
constexpr int textLeft = contentLeft + ThumbnailCache::side + itemSpacing;

// Times further from the epoch are shown as this one: a history file may hold any number.
constexpr double furthestMilliseconds = 1e15;

// As many as a history can hold.
constexpr int keptMeasures = 1024;
// A few pages.
constexpr int keptLayouts = 64;

constexpr Symbol symbolFor(ClipType type) {
  switch (type) {
    case ClipType::rtf:
      return Symbol::richText;
    case ClipType::image:
      return Symbol::photo;
    default:
      return Symbol::plainText;
  }
}

int widestDigit(const QFontMetrics& metrics) {
  int width = 0;
  for (char16_t digit = u'1'; digit <= u'9'; ++digit)
    width = std::max(width, metrics.horizontalAdvance(QChar(digit)));
  return width;
}

const HistoryListModel& modelOf(const QModelIndex& index) {
  return static_cast<const HistoryListModel&>(*index.model());
}

int paddingAbove(int row) { return row == 0 ? listPadding : 0; }

int paddingBelow(const QModelIndex& index) {
  return index.row() + 1 == index.model()->rowCount() ? listPadding : 0;
}

}  // namespace

RowTexts::RowTexts(const AppSettings& settings)
    : language_(settings.language),
      pair_(directPasteModifierPairFrom(settings.directPasteModifiers)),
      dateLocale_(QString::fromUtf8(L10n::dateLocaleIdentifier(language_))) {}

bool RowTexts::matches(const AppSettings& settings) const {
  return language_ == settings.language &&
         pair_ == directPasteModifierPairFrom(settings.directPasteModifiers);
}

QString RowTexts::date(const ClipItem& clip) const {
  const double seconds =
      clip.timestamp().secondsSinceReferenceDate + Timestamp::referenceDateUnixSeconds;
  const double shown =
      std::clamp(std::floor(seconds * 1000), -furthestMilliseconds, furthestMilliseconds);
  return dateLocale_.toString(QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(shown)),
                              QString::fromUtf8(L10n::dateFormat(language_)));
}

QString RowTexts::shortcutSymbols() const { return QString::fromUtf8(symbolString(pair_)); }

QString RowTexts::description(const ClipItem& clip, int row) const {
  const std::string shortcut =
      row < shortcutCount ? fmt::format("{} + {}", keyboardNames(carbonMask(pair_)), row + 1) : "";
  const QString preview = printablePreview(clip).replace(QChar::LineSeparator, u' ');
  return QString::fromUtf8(
      L10n::historyRow(language_, preview.toStdString(), date(clip).toStdString(), shortcut));
}

struct HistoryRowView::Row {
  const ClipItem& clip;
  int number;
  /// The rounded background, which everything else lies in.
  QRect background;
  bool isSelected;
  QColor primary, secondary;

  QRect centred(int left, int width, int height) const {
    return {left, background.top() + (background.height() - height) / 2, width, height};
  }
  QRect thumbnail() const {
    return centred(contentLeft, ThumbnailCache::side, ThumbnailCache::side);
  }
};

HistoryRowView::HistoryRowView(const RowTexts& texts, ThumbnailCache& thumbnails)
    : texts_(texts), thumbnails_(thumbnails), measures_(keptMeasures), layouts_(keptLayouts) {}

void HistoryRowView::setLooks(const QFont& font, const QPalette& palette) {
  looks_ = {.body = Fonts::body(font),
            .caption = Fonts::caption(font),
            .badge = Fonts::caption(font),
            .badgeSymbols = texts_.shortcutSymbols(),
            .colors = Colors(palette)};
  looks_.badge.setWeight(QFont::Medium);
  looks_.bodyHeight = QFontMetrics(looks_.body).height();
  looks_.captionHeight = QFontMetrics(looks_.caption).height();
  const QFontMetrics badge(looks_.badge);
  looks_.badgeSymbolsWidth = badge.horizontalAdvance(looks_.badgeSymbols);
  looks_.badgeDigitWidth = widestDigit(badge);
  measures_.clear();
  layouts_.clear();
}

void HistoryRowView::setQuery(const std::string& query) {
  if (query == queryText_) return;
  queryText_ = query;
  query_ = SearchQuery(query);
  ++queryNumber_;
}

void HistoryRowView::keepOnly(const std::unordered_set<Uuid>& ids) {
  const auto isGone = [&](const Uuid& id) { return !ids.contains(id); };
  for (const Uuid& id : measures_.keys())
    if (isGone(id)) measures_.remove(id);
  for (const Uuid& id : layouts_.keys())
    if (isGone(id)) layouts_.remove(id);
}

PreviewMeasure HistoryRowView::measured(const ClipItem& clip) const {
  if (const auto* known = measures_.object(clip.id())) return *known;
  const PreviewMeasure measure = PreviewMeasure::of(printablePreview(clip), looks_.body);
  measures_.insert(clip.id(), std::make_unique<PreviewMeasure>(measure).release());
  return measure;
}

const PreviewLayout& HistoryRowView::layout(const ClipItem& clip, int width) const {
  auto* known = layouts_.object(clip.id());
  if (known == nullptr || known->width != width) {
    auto made = std::unique_ptr<CachedLayout>(new CachedLayout{
        .width = width, .layout = PreviewLayout(printablePreview(clip), looks_.body, width)});
    known = made.get();
    layouts_.insert(clip.id(), made.release());
  }
  if (std::exchange(known->query, queryNumber_) != queryNumber_)
    known->layout.mark(matches(query_, printablePreview(clip)));
  return known->layout;
}

int HistoryRowView::badgeWidth() const {
  return looks_.badgeSymbolsWidth + looks_.badgeDigitWidth + 2 * badgeSidePadding;
}

// The flexible space between text and badge keeps its distance to both.
int HistoryRowView::textWidth(int row) const {
  const int right = contentRight - itemSpacing;
  const int badge = row < RowTexts::shortcutCount ? badgeWidth() + itemSpacing : 0;
  return std::max(right - badge - textLeft, 0);
}

int HistoryRowView::textHeight(const ClipItem& clip, int row) const {
  const int lines = measured(clip).lineCount(textWidth(row));
  return lines * looks_.bodyHeight + lineSpacing + looks_.captionHeight;
}

QSize HistoryRowView::sizeHint(const QStyleOptionViewItem& /*option*/,
                               const QModelIndex& index) const {
  const int content =
      std::max(textHeight(modelOf(index).clip(index.row()), index.row()), ThumbnailCache::side);
  return {textLeft,
          content + 2 * verticalPadding + paddingAbove(index.row()) + paddingBelow(index)};
}

HistoryRowView::Row HistoryRowView::rowFor(const QStyleOptionViewItem& option,
                                           const QModelIndex& index) const {
  const bool isSelected = option.state.testFlag(QStyle::State_Selected);
  const Colors& colors = looks_.colors;
  QRect background = option.rect.adjusted(0, paddingAbove(index.row()), 0, -paddingBelow(index));
  background.setLeft(inset);
  background.setRight(HistoryRowView::rowWidth - inset - 1);
  return {modelOf(index).clip(index.row()),
          index.row(),
          background,
          isSelected,
          isSelected ? colors.primaryOnSelection() : colors.primary(),
          isSelected ? colors.secondaryOnSelection() : colors.secondary()};
}

void HistoryRowView::paint(QPainter* painter, const QStyleOptionViewItem& option,
                           const QModelIndex& index) const {
  const Row row = rowFor(option, index);
  painter->save();
  painter->setClipRect(row.background, Qt::IntersectClip);
  painter->setRenderHint(QPainter::Antialiasing);
  paintBackground(*painter, row);
  paintThumbnail(*painter, row);
  paintText(*painter, row);
  if (row.number < RowTexts::shortcutCount) paintBadge(*painter, row);
  painter->restore();
}

void HistoryRowView::paintBackground(QPainter& painter, const Row& row) const {
  if (!row.isSelected && row.number % 2 == 0) return;
  painter.setPen(Qt::NoPen);
  painter.setBrush(row.isSelected ? looks_.colors.selection() : looks_.colors.alternateRow());
  painter.drawRoundedRect(row.background, backgroundRadius, backgroundRadius);
}

void HistoryRowView::paintThumbnail(QPainter& painter, const Row& row) const {
  using State = ThumbnailCache::Thumbnail::State;
  if (!row.clip.imageData()) return paintSymbol(painter, row);
  const auto thumbnail = thumbnails_.thumbnail(row.clip, painter.device()->devicePixelRatioF());
  if (thumbnail.state == State::undecodable) return paintSymbol(painter, row);
  if (thumbnail.state == State::ready) return painter.drawPixmap(row.thumbnail(), thumbnail.pixmap);
  painter.setPen(Qt::NoPen);
  painter.setBrush(looks_.colors.placeholder());
  painter.drawRoundedRect(row.thumbnail(), ThumbnailCache::cornerRadius,
                          ThumbnailCache::cornerRadius);
}

void HistoryRowView::paintSymbol(QPainter& painter, const Row& row) const {
  Icons::paint(painter, row.thumbnail(), symbolFor(row.clip.type()), iconSize, row.secondary);
}

void HistoryRowView::paintText(QPainter& painter, const Row& row) const {
  const QRect column =
      row.centred(textLeft, textWidth(row.number), textHeight(row.clip, row.number));
  paintPreview(painter, row, column);
  const QFontMetrics metrics(looks_.caption);
  painter.setFont(looks_.caption);
  painter.setPen(row.secondary);
  painter.drawText(column.left(), column.bottom() + 1 - looks_.captionHeight + metrics.ascent(),
                   texts_.date(row.clip));
}

// Stacks of marks may reach far beyond their line; they leave the date alone.
void HistoryRowView::paintPreview(QPainter& painter, const Row& row, const QRect& column) const {
  painter.save();
  const QRect lines(0, row.background.top(), contentRight,
                    column.bottom() + 1 - looks_.captionHeight - row.background.top());
  painter.setClipRect(lines, Qt::IntersectClip);
  painter.setPen(row.primary);
  const auto [ground, text] = looks_.colors.match(row.isSelected);
  QTextCharFormat mark;
  mark.setBackground(ground);
  mark.setForeground(text);
  layout(row.clip, column.width()).draw(painter, column.topLeft(), mark);
  painter.restore();
}

void HistoryRowView::paintBadge(QPainter& painter, const Row& row) const {
  const QFontMetrics metrics(looks_.badge);
  const QRect badge = row.centred(contentRight - badgeWidth(), badgeWidth(),
                                  metrics.height() + 2 * badgeVerticalPadding);
  painter.setPen(Qt::NoPen);
  const auto [ground, text] = looks_.colors.badge(row.isSelected);
  painter.setBrush(ground);
  painter.drawRoundedRect(badge, badgeRadius, badgeRadius);
  painter.setFont(looks_.badge);
  painter.setPen(text);
  const int baseline = badge.top() + badgeVerticalPadding + metrics.ascent();
  painter.drawText(badge.left() + badgeSidePadding, baseline, looks_.badgeSymbols);
  // Each digit in a column of the same width, whatever the font makes of them.
  const QString digit = QString::number(row.number + 1);
  const int column = badge.right() + 1 - badgeSidePadding - looks_.badgeDigitWidth;
  const int slack = looks_.badgeDigitWidth - metrics.horizontalAdvance(digit);
  painter.drawText(column + slack / 2, baseline, digit);
}

}  // namespace stowboard
