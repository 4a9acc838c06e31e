#include "UI/Panel/HistoryRowView.h"

#include <gmock/gmock.h>
#include <stdlib.h>

#include <QApplication>
#include <QImage>
#include <QPainter>
#include <set>

#include "Platform/QtTurns.h"
#include "UI/Looks/Icons.h"
#include "UI/Looks/Theme.h"
#include "UI/Panel/HistoryListView.h"
#include "fakes/Clips.h"

namespace stowboard {
namespace {

const QPalette palette = Theme::palette(false, Contrast::normal);
constexpr QRect wholeRow(0, 0, HistoryRowView::rowWidth, 60);

/// Rows of a list, painted on the window's colour.
struct Rows {
  explicit Rows(std::vector<ClipItem> clips) {
    model.setClips(std::move(clips));
    rows.setLooks(QApplication::font(), palette);
    thumbnails.onDidLoad = [this] { isLoaded = true; };
  }

  static QImage canvas() {
    QImage image(wholeRow.size(), QImage::Format_RGB32);
    image.fill(palette.color(QPalette::Window));
    return image;
  }
  QImage paint(int row, QStyle::State state = {}) const {
    QImage image = canvas();
    QPainter painter(&image);
    QStyleOptionViewItem option;
    option.rect = wholeRow;
    option.state = state;
    rows.paint(&painter, option, model.index(row));
    return image;
  }

  RowTexts texts{AppSettings()};
  ThumbnailCache thumbnails;
  HistoryRowView rows{texts, thumbnails};
  HistoryListModel model{[](const ClipItem&, int) { return QString(); }};
  bool isLoaded = false;
};

int colours(const QImage& image, const QRect& place) {
  std::set<QRgb> seen;
  for (int y = place.top(); y <= place.bottom(); ++y)
    for (int x = place.left(); x <= place.right(); ++x) seen.insert(image.pixel(x, y));
  return static_cast<int>(seen.size());
}

TEST(RowTexts, TheDateHasItsLanguagesNamesAndTheSystemsZoneOfTheMoment) {
  constexpr double afternoon = 1741183620;  // 2025-03-05 14:07 UTC
  const auto date = [](const char* zone, double unixSeconds, AppLanguage language) {
    ::setenv("TZ", zone, 1);
    AppSettings settings;
    settings.language = language;
    const Timestamp moment{unixSeconds - Timestamp::referenceDateUnixSeconds};
    return RowTexts(settings)
        .date(ClipItem(Uuid::random(), ClipType::text, Text("a"), {}, {}, moment))
        .toStdString();
  };
  EXPECT_EQ(date("UTC", afternoon + 59.999, AppLanguage::english), "Mar 5, 14:07");
  EXPECT_EQ(date("UTC", afternoon, AppLanguage::simplifiedChinese), "3月5日 14:07");
  EXPECT_EQ(date("America/New_York", afternoon, AppLanguage::english), "Mar 5, 09:07");
  // The summer's offset, not today's.
  EXPECT_EQ(date("America/New_York", afternoon + 180 * 86400, AppLanguage::english),
            "Sep 1, 10:07");
  EXPECT_EQ(date("UTC", -60.5, AppLanguage::english), "Dec 31, 23:58");
  for (const double absurd : {1e300, -1e300}) {
    EXPECT_THAT(date("UTC", absurd, AppLanguage::english), ::testing::Not(::testing::IsEmpty()));
  }
  ::unsetenv("TZ");
}

TEST(HistoryRowView, OnlyTheFirstNineRowsHaveABadge) {
  const Rows rows(std::vector<ClipItem>(11, textClip("short")));
  const QRect badge(420, 20, 46, 20);
  for (int row = 0; row < 11; ++row) EXPECT_EQ(colours(rows.paint(row), badge) > 1, row < 9) << row;
}

TEST(HistoryRowView, ASymbolTellsTheTypeOfWhatHasNoPicture) {
  for (const auto& [clip, symbol] : {std::pair(textClip("a"), Symbol::plainText),
                                     {richTextClip("a", "{}"), Symbol::richText},
                                     {imageClip("not a picture"), Symbol::photo}}) {
    Rows rows({clip});
    if (clip.imageData()) {
      rows.paint(0);
      EXPECT_TRUE(turnQtUntil([&] { return rows.isLoaded; }));
    }
    QImage expected = Rows::canvas();
    // The first row is the last as well, so what it shows is in the middle.
    const QRect place(14, 16, 28, 28);
    QPainter painter(&expected);
    Icons::paint(painter, place, symbol, 16, Colors(palette).secondary());
    painter.end();
    EXPECT_EQ(rows.paint(0).copy(place), expected.copy(place)) << static_cast<int>(symbol);
  }
}

TEST(HistoryRowView, MarksWhatTheSearchHasFound) {
  Rows rows({textClip("needle in a haystack")});
  const auto marked = [&] {
    QImage expected = Rows::canvas();
    QPainter(&expected).fillRect(expected.rect(), Colors(palette).match(false).ground);
    const QImage image = rows.paint(0);
    int first = 0, last = 0;
    for (int x = 52; x < 400; ++x)
      for (int y = 10; y < 30; ++y)
        if (image.pixel(x, y) == expected.pixel(0, 0)) first = first == 0 ? x : first, last = x;
    return last - first;
  };
  EXPECT_EQ(marked(), 0);
  const QImage selected = rows.paint(0, QStyle::State_Selected);
  rows.rows.setQuery("NEEDLE");
  const int width = QFontMetrics(QApplication::font()).horizontalAdvance("needle");
  EXPECT_NEAR(marked(), width, 3);
  EXPECT_NE(rows.paint(0, QStyle::State_Selected), selected);
  rows.rows.setQuery("");
  EXPECT_EQ(marked(), 0);
}

}  // namespace
}  // namespace stowboard
