#include "UI/Looks/Icons.h"

#include <gmock/gmock.h>

#include <QDir>
#include <QFile>
#include <QIcon>
#include <QImage>
#include <QTemporaryDir>

namespace stowboard {
namespace {

constexpr Symbol allSymbols[] = {Symbol::magnifyingGlass, Symbol::clearField, Symbol::clipboard,
                                 Symbol::plainText,       Symbol::richText,   Symbol::photo,
                                 Symbol::checkmark,       Symbol::warning};

QImage drawn(Symbol symbol, qreal ratio = 1) {
  return Icons::pixmap(symbol, 16, Qt::red, ratio).toImage();
}

int inkOf(const QImage& image) {
  int pixels = 0;
  for (int y = 0; y < image.height(); ++y)
    for (int x = 0; x < image.width(); ++x) {
      const QColor color = image.pixelColor(x, y);
      EXPECT_TRUE(color.alpha() < 255 || color == QColor(Qt::red));
      pixels += color.alpha() > 128 ? 1 : 0;
    }
  return pixels;
}

TEST(IconsTest, NoSymbolIsMissingAtAnyScale) {
  for (const Symbol symbol : allSymbols) {
    for (const qreal ratio : {1.0, 1.25, 2.0}) {
      const QImage image = drawn(symbol, ratio);
      EXPECT_EQ(image.width(), qRound(16 * ratio));
      EXPECT_GT(inkOf(image), image.width() * image.height() / 12) << static_cast<int>(symbol);
    }
  }
}

TEST(IconsTest, TheThemesSymbolsComeFirstButOnlyOneColourOnesThatCanBeDrawn) {
  const QImage ownClear = drawn(Symbol::clearField);
  const QImage ownPhoto = drawn(Symbol::photo);
  QTemporaryDir folder;
  const QDir theme(folder.filePath("test-theme"));
  theme.mkpath("actions");
  const auto write = [&](const QString& name, const char* content) {
    QFile file(theme.filePath(name));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(content);
  };
  write("index.theme",
        "[Icon Theme]\nName=Test\nDirectories=actions\n[actions]\nSize=16\nType=Scalable\n");
  constexpr const char* square =
      R"(<svg xmlns="http://www.w3.org/2000/svg" width="16" height="16">)"
      R"(<rect width="16" height="16" fill="#2e3436"/></svg>)";
  write("actions/edit-find-symbolic.svg", square);
  write("actions/edit-clear.svg", square);
  write("actions/image-x-generic-symbolic.svg", "<svg xmlns=\"http://www.w3.org/2000/svg\"/>");
  QIcon::setThemeSearchPaths({folder.path()});
  QIcon::setThemeName("test-theme");
  EXPECT_EQ(inkOf(drawn(Symbol::magnifyingGlass)), 16 * 16) << "the theme's, in the colour asked";
  EXPECT_EQ(drawn(Symbol::clearField), ownClear) << "the theme's is in full colour";
  EXPECT_EQ(drawn(Symbol::photo), ownPhoto) << "the theme's is empty";
  QIcon::setThemeName("none");
}

}  // namespace
}  // namespace stowboard
