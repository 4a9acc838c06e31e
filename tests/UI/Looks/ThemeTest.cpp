#include "UI/Looks/Theme.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QStyle>
#include <algorithm>
#include <cmath>
#include <utility>

#include "UI/Looks/Colors.h"

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
  EXPECT_EQ(QApplication::palette(), desktop);
  EXPECT_EQ(QApplication::style()->objectName(), style);
}

// Contrast as WCAG 2.1 has it: 4.5 to 1 for text, 7 to 1 where the user wants much.
TEST(Theme, TextIsLegibleInEveryPalette) {
  const auto luminance = [](const QColor& color) {
    const auto linear = [](double part) {
      return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) +
           0.0722 * linear(color.blueF());
  };
  for (const bool isDark : {false, true}) {
    for (const auto contrast : {Contrast::normal, Contrast::high}) {
      const QPalette palette = Theme::palette(isDark, contrast);
      const std::pair<QPalette::ColorRole, QPalette::ColorRole> pairs[] = {
          {QPalette::WindowText, QPalette::Window},
          {QPalette::Text, QPalette::Base},
          {QPalette::Text, QPalette::AlternateBase},
          {QPalette::ButtonText, QPalette::Button},
          {QPalette::HighlightedText, QPalette::Highlight},
          {QPalette::Link, QPalette::Window},
          {QPalette::ToolTipText, QPalette::ToolTipBase}};
      for (const auto& [text, ground] : pairs) {
        const auto [dark, light] =
            std::minmax({luminance(palette.color(text)), luminance(palette.color(ground))});
        EXPECT_GE((light + 0.05) / (dark + 0.05), contrast == Contrast::high ? 7 : 4.5)
            << isDark << " " << text << " on " << ground;
      }
    }
  }
}

}  // namespace
}  // namespace stowboard
