#include "UI/Panel/ClipPreview.h"

#include <gmock/gmock.h>

#include <QFontMetricsF>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>

#include "fakes/Clips.h"

namespace stowboard {
namespace {

using namespace std::string_literals;

std::string shown(const std::string& text) {
  return printablePreview(textClip(text)).replace(QChar::LineSeparator, u'|').toStdString();
}

TEST(ClipPreviewTest, EveryCharacterIsMadeFitForALine) {
  const std::pair<std::string, std::string> rows[] = {
      {"  plain \"text\"", "  plain \"text\""},
      {"a\nb\r\nc\rd", "a|b|c|d"},
      {"a\u2028b\u2029c\vd\fe\u0085f", "a|b|c|d|e|f"},
      {"\n\na", "||a"},
      {"line\n\r\n\n", "line"},
      {"a\tb", "a    b"},
      {"a\0b\x1b[0m\x7f\u009f\ufffc"s, "a·b·[0m···"},
      {std::string(61, 'x'), std::string(60, 'x')},
      {"", ""},
  };
  for (const auto& [text, expected] : rows) EXPECT_EQ(shown(text), expected);
  EXPECT_EQ(printablePreview(imageClip("")), "[Image]");
}

std::string repeated(const std::string& text, int count) {
  std::string result;
  for (int index = 0; index < count; ++index) result += text;
  return result;
}

const std::vector<std::string> hostileTexts{
    std::string(5'000'000, 'x'),
    repeated("line\n", 100'000),
    repeated("\u0301", 1'000'000),
    "a" + repeated("\u0301", 1'000'000),
    repeated("\u202e", 100'000),
    repeated("\u200b", 100'000),
    repeated("👩‍👩‍👧‍👦", 100),
    repeated("\U0001F468\u200D", 50'000),
    std::string(100'000, '\0'),
    "שלום " + repeated("עולם abc ", 1000),
    "Latin\nעברית\nmore",
    repeated(" ", 1000),
};

TEST(ClipPreviewTest, NoTextTakesMoreThanItsLines) {
  const QFont font = QGuiApplication::font();
  constexpr double width = 300;
  for (const std::string& text : hostileTexts) {
    const QString preview = printablePreview(textClip(text));
    SCOPED_TRACE(preview.left(40).toStdString());
    EXPECT_LE(preview.size(), 2048);
    const PreviewLayout layout(preview, font, width);
    EXPECT_LE(layout.lineCount(), PreviewMeasure::of(preview, font).lineCount(width));
    QImage image(400, 60, QImage::Format_ARGB32_Premultiplied);
    QPainter painter(&image);
    layout.draw(painter, {0, 0});
  }
}

TEST(ClipPreviewTest, MatchesAreWhereTheSearchFindsThem) {
  const struct {
    const char *query, *text, *marked;
  } rows[] = {
      {"AB", "abcAbc", "[ab]c[Ab]c"},
      {" b ", "abc", "a[b]c"},
      {"strasse", "Die Straße", "Die [Straße]"},
      {"s", "ß", "[ß]"},
      {"é", "e\u0301 é e", "[e\u0301] [é] e"},
      {"e", "e\u0301 é e", "e\u0301 é [e]"},
      {"aa", "aaaaa", "[aa][aa]a"},
      {"中", "👩‍👩‍👧‍👦中文", "👩‍👩‍👧‍👦[中]文"},
      {"", "abc", "abc"},
      {"x", "abc", "abc"},
  };
  for (const auto& row : rows) {
    QString marked = row.text;
    const auto found = matches(SearchQuery(row.query), marked);
    EXPECT_EQ(!found.empty(), Text(row.text).contains(SearchQuery(row.query)) && *row.query);
    for (auto each = found.rbegin(); each != found.rend(); ++each)
      marked.insert(each->start + each->length, ']').insert(each->start, '[');
    EXPECT_EQ(marked.toStdString(), row.marked);
  }
}

TEST(ClipPreviewTest, WrapsAndElidesAtTheWidth) {
  const QFont font = QGuiApplication::font();
  const auto lines = [&](const std::string& text, double width) {
    const QString preview = printable(text);
    const int measured = PreviewMeasure::of(preview, font).lineCount(width);
    EXPECT_EQ(PreviewLayout(preview, font, width).lineCount(), measured) << text;
    return measured;
  };
  EXPECT_EQ(lines("short", 300), 1);
  EXPECT_EQ(lines("one\ntwo", 300), 2);
  EXPECT_EQ(lines("one\ntwo\nthree", 300), 2);
  EXPECT_EQ(lines("several words that do not fit", 60), 2);
  EXPECT_EQ(lines("averyveryverylongwordthatisnotbroken", 60), 2);
  const double exact = PreviewMeasure::of("just as wide", font).width;
  EXPECT_EQ(lines("just as wide", exact), 1);
  EXPECT_EQ(lines("just as wide", exact - 1), 2);
}

// Columns from the left and the right that are free of ink, in the first line.
std::pair<int, int> freeColumns(const std::string& text, double width) {
  QImage image(static_cast<int>(width), 30, QImage::Format_ARGB32_Premultiplied);
  image.fill(Qt::white);
  QPainter painter(&image);
  PreviewLayout(printable(text), QGuiApplication::font(), width).draw(painter, {0, 0});
  painter.end();
  const auto isFree = [&](int x) {
    for (int y = 0; y < image.height(); ++y)
      if (qGray(image.pixel(x, y)) < 200) return false;
    return true;
  };
  int left = 0;
  while (left < image.width() && isFree(left)) ++left;
  int right = 0;
  while (right < image.width() && isFree(image.width() - 1 - right)) ++right;
  return {left, right};
}

TEST(ClipPreviewTest, EveryLineBeginsAtTheLeft) {
  for (const char* text : {"short", "שלום", "مرحبا", "\u202eabc"}) {
    const auto [left, right] = freeColumns(text, 200);
    EXPECT_LT(left, 6) << text;
    EXPECT_GT(right, 100) << text;
  }
}

}  // namespace
}  // namespace stowboard
