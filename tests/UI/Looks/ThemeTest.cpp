#include "UI/Looks/Theme.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QImage>
#include <QPainter>
#include <QStyle>
#include <QStyleFactory>
#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>

#include "UI/Looks/Colors.h"
#include "UI/Looks/Fonts.h"

namespace stowboard {
namespace {

bool operator==(const QPalette& left, const Appearance& right) {
  const Colors colors(left);
  return colors.isDark() == (right.colorScheme == ColorScheme::dark) &&
         colors.isHighContrast() == (right.contrast == Contrast::high);
}

TEST(Theme, FollowsThePreferenceAndGoesBackToTheDesktops) {
  const QPalette desktop = QApplication::palette();
  const QString style = QApplication::style()->objectName();
  Theme theme;
  for (const auto scheme : {ColorScheme::dark, ColorScheme::light, ColorScheme::dark}) {
    for (const auto contrast : {Contrast::high, Contrast::normal}) {
      theme.apply({scheme, contrast});
      EXPECT_TRUE((QApplication::palette() == Appearance{scheme, contrast}));
    }
  }
  theme.apply({ColorScheme::noPreference, Contrast::high});
  const Colors colors(QApplication::palette());
  EXPECT_TRUE(colors.isHighContrast());
  EXPECT_EQ(colors.secondaryOnSelection(), colors.primaryOnSelection());
  theme.apply({});
  for (const auto role : {QPalette::Window, QPalette::Base, QPalette::Text, QPalette::Button})
    EXPECT_EQ(QApplication::palette().color(role), desktop.color(role));
  EXPECT_EQ(QApplication::style()->objectName(), style);
}

double luminance(const QColor& color) {
  const auto linear = [](double part) {
    return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
  };
  return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) +
         0.0722 * linear(color.blueF());
}

double ratio(const QColor& text, const QColor& ground) {
  const auto [dark, light] = std::minmax({luminance(text), luminance(ground)});
  return (light + 0.05) / (dark + 0.05);
}

QColor over(const QColor& top, const QColor& bottom) {
  QImage pixel(1, 1, QImage::Format_ARGB32);
  pixel.fill(bottom);
  QPainter(&pixel).fillRect(pixel.rect(), top);
  return pixel.pixelColor(0, 0);
}

// Contrast as WCAG 2.1 has it: 4.5 to 1 for text, 7 to 1 for most where the user wants much.
TEST(Theme, TextIsLegibleInEveryPalette) {
  const std::unique_ptr<QStyle> fusion(QStyleFactory::create("Fusion"));
  const std::pair<const char*, QPalette> palettes[] = {
      {"light", Theme::palette(false, Contrast::normal)},
      {"dark", Theme::palette(true, Contrast::normal)},
      {"light, high contrast", Theme::palette(false, Contrast::high)},
      {"dark, high contrast", Theme::palette(true, Contrast::high)},
      {"a desktop's", Theme::readable(fusion->standardPalette())}};
  for (const auto& [name, palette] : palettes) {
    SCOPED_TRACE(name);
    const Colors colors(palette);
    const bool isHigh = colors.isHighContrast();
    const std::pair<QPalette::ColorRole, QPalette::ColorRole> roles[] = {
        {QPalette::WindowText, QPalette::Window},
        {QPalette::Text, QPalette::Base},
        {QPalette::Text, QPalette::AlternateBase},
        {QPalette::ButtonText, QPalette::Button},
        {QPalette::HighlightedText, QPalette::Highlight},
        {QPalette::Link, QPalette::Window},
        {QPalette::ToolTipText, QPalette::ToolTipBase},
        {QPalette::PlaceholderText, QPalette::Base},
        {QPalette::PlaceholderText, QPalette::Window}};
    for (const auto& [text, ground] : roles)
      EXPECT_GE(ratio(palette.color(text), palette.color(ground)), isHigh ? 7 : 4.5)
          << text << " on " << ground;
    const QColor window = palette.color(QPalette::Window);
    const QColor otherRow = over(colors.alternateRow(), window);
    for (const QColor& row : {window, otherRow}) {
      const auto [badgeGround, badgeText] = colors.badge(false);
      const auto [matchGround, matchText] = colors.match(false);
      EXPECT_GE(ratio(colors.primary(), row), 4.5);
      EXPECT_GE(ratio(colors.secondary(), row), 4.5);
      EXPECT_GE(ratio(badgeText, over(badgeGround, row)), 4.5);
      EXPECT_GE(ratio(matchText, over(matchGround, row)), 4.5);
    }
    EXPECT_GE(ratio(colors.primaryOnSelection(), colors.selection()), 4.5);
    EXPECT_GE(ratio(colors.secondaryOnSelection(), colors.selection()), 4.5);
    EXPECT_EQ(colors.secondary() == colors.primary(), isHigh);
    EXPECT_EQ(colors.secondaryOnSelection() == colors.primaryOnSelection(), isHigh);
    for (const auto& [ground, text] : {colors.badge(true), colors.match(true)}) {
      EXPECT_GE(ratio(text, over(ground, colors.selection())), 4.5);
      EXPECT_GE(ratio(over(ground, colors.selection()), colors.selection()), 3) << "it is seen";
    }
    for (const QColor& text : {colors.primary(), colors.secondary(), colors.red()}) {
      EXPECT_GE(ratio(text, colors.formGround()), 4.5);
    }
    EXPECT_GE(ratio(colors.red(), palette.color(QPalette::Button)), 4.5);
    EXPECT_GE(ratio(colors.primary(), colors.controlBackground()), 4.5);
  }
}

TEST(Fonts, CaptionsOfSmallFontsStayReadable) {
  QFont font = QApplication::font();
  for (const int pixels : {8, 11, 26}) {
    font.setPixelSize(pixels);
    EXPECT_EQ(QFontInfo(Fonts::caption(font)).pixelSize(), qMax(10, pixels * 10 / 13)) << pixels;
  }
}

}  // namespace
}  // namespace stowboard
