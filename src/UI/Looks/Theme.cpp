#include "UI/Looks/Theme.h"

#include <QApplication>
#include <QColor>
#include <QIcon>
#include <QStyle>
#include <algorithm>

#include "UI/Looks/Colors.h"

namespace stowboard {

namespace {

// The one style that takes all its colours from the palette.
constexpr const char* ownStyle = "Fusion";

struct Shades {
  QColor window;
  QColor base;
  QColor alternateBase;
  QColor button;
  QColor text;
  QColor disabledText;
  QColor line;
  QColor highlight;
  QColor highlightedText;
  QColor link;
};

Shades shades(bool isDark, Contrast contrast) {
  const bool isHigh = contrast == Contrast::high;
  if (isDark && isHigh) {
    return {Qt::black,        Qt::black, 0x1a1a1a, Qt::black, Qt::white,
            QColor(0xb8b8b8), Qt::white, 0x8ec7ff, Qt::black, 0x8ec7ff};
  }
  if (isHigh) {
    return {Qt::white,        Qt::white, 0xececec, Qt::white, Qt::black,
            QColor(0x4a4a4a), Qt::black, 0x003e9c, Qt::white, 0x003e9c};
  }
  if (isDark) {
    return {0x2c2c2e, 0x1f1f21, 0x272729, 0x3a3a3c,  0xf2f2f4,
            0x8a8a8e, 0x18181a, 0x2f6fd6, Qt::white, 0x79aefc};
  }
  return {0xf5f5f6, Qt::white, 0xf4f4f6, 0xfcfcfc,  0x1d1d1f,
          0x9a9a9e, 0xb4b4b8,  0x2f6fd6, Qt::white, 0x1a5fc4};
}

// Desktops tell of high contrast by the names of their themes, or by a palette without any shades.
bool isHighContrast(const QPalette& desktop) {
  if (Colors(desktop).isHighContrast()) return true;
  if (QIcon::themeName().startsWith("HighContrast")) return true;
  const QColor window = desktop.color(QPalette::Window);
  const bool isPlain = window == desktop.color(QPalette::Base) &&
                       window == desktop.color(QPalette::Button) &&
                       (window == Qt::black || window == Qt::white);
  return isPlain && qAbs(window.lightness() - desktop.color(QPalette::Text).lightness()) == 255;
}

bool fits(const QPalette& desktop, ColorScheme wanted) {
  if (wanted == ColorScheme::noPreference) return true;
  return Colors(desktop).isDark() == (wanted == ColorScheme::dark);
}

QPalette withFullContrast(QPalette palette) {
  palette.setColor(QPalette::PlaceholderText, palette.color(QPalette::Text));
  return palette;
}

// As little further from the text as it takes.
QColor readableSelection(const QColor& selection, const QColor& text) {
  const QColor away = contrast(text, Qt::black) > contrast(text, Qt::white) ? Qt::black : Qt::white;
  for (double share = 0; share < 1; share += 0.02) {
    const QColor moved = mixed(away, selection, share);
    if (contrast(mixed(text, moved, secondaryShare), moved) >= readableContrast) return moved;
  }
  return away;
}

// Never the text's own colour, which would tell of high contrast.
QColor readableHint(const QPalette& palette, QPalette::ColorGroup group) {
  const QColor text = palette.color(group, QPalette::Text);
  const QColor base = palette.color(group, QPalette::Base);
  const QColor window = palette.color(group, QPalette::Window);
  const QColor hint = palette.color(group, QPalette::PlaceholderText);
  for (double share = hint.alphaF();; share += 0.02) {
    const QColor onBase = mixed(share > hint.alphaF() ? text : hint, base, std::min(share, 0.96));
    const bool isReadable =
        std::min(contrast(onBase, base), contrast(onBase, window)) >= readableContrast;
    if (isReadable || share >= 0.96) return onBase;
  }
}

// Only these roles, so that the others go on following the desktop's.
QPalette readableRoles(const QPalette& desktop) {
  const QPalette readable = Theme::readable(desktop);
  QPalette own;
  for (const auto group : {QPalette::Active, QPalette::Inactive})
    for (const auto role : {QPalette::Highlight, QPalette::PlaceholderText})
      own.setColor(group, role, readable.color(group, role));
  return own;
}

// Making one anew has every widget laid out again.
void useStyle(const QString& name) {
  const bool isUsed = QApplication::style()->objectName().compare(name, Qt::CaseInsensitive) == 0;
  if (!isUsed) QApplication::setStyle(name);
}

}  // namespace

Theme::Theme() : desktopStyle_(QApplication::style()->objectName()) {}

QPalette Theme::palette(bool isDark, Contrast wanted) {
  const Shades shade = shades(isDark, wanted);
  QPalette palette(shade.text, shade.button, shade.button.lighter(), shade.line, shade.line,
                   shade.text, Qt::white, shade.base, shade.window);
  palette.setColor(QPalette::AlternateBase, shade.alternateBase);
  palette.setColor(QPalette::Highlight, shade.highlight);
  palette.setColor(QPalette::HighlightedText, shade.highlightedText);
  palette.setColor(QPalette::Link, shade.link);
  palette.setColor(QPalette::LinkVisited, shade.link);
  palette.setColor(QPalette::ToolTipBase, shade.base);
  palette.setColor(QPalette::ToolTipText, shade.text);
  QColor hint = shade.text;
  hint.setAlphaF(0.55F);
  palette.setColor(QPalette::PlaceholderText, hint);
  for (const auto role : {QPalette::Text, QPalette::WindowText, QPalette::ButtonText}) {
    palette.setColor(QPalette::Disabled, role, shade.disabledText);
  }
  palette.setColor(QPalette::Disabled, QPalette::Highlight, shade.disabledText);
  return wanted == Contrast::high ? withFullContrast(palette) : readable(palette);
}

QPalette Theme::readable(QPalette palette) {
  for (const auto group : {QPalette::Active, QPalette::Inactive}) {
    palette.setColor(group, QPalette::Highlight,
                     readableSelection(palette.color(group, QPalette::Highlight),
                                       palette.color(group, QPalette::HighlightedText)));
    palette.setColor(group, QPalette::PlaceholderText, readableHint(palette, group));
  }
  return palette;
}

void Theme::apply(const Appearance& appearance) {
  // Back to the desktop's own, to see whether it fits by now.
  QApplication::setPalette(QPalette());
  const QPalette desktop = QApplication::palette();
  const bool isHigh = appearance.contrast == Contrast::high;
  const bool isDesktopHigh = isHighContrast(desktop);
  const bool isDesktopRight = fits(desktop, appearance.colorScheme) && (isDesktopHigh || !isHigh);
  useStyle(isDesktopRight ? desktopStyle_ : QString(ownStyle));
  if (isDesktopRight) {
    QApplication::setPalette(isDesktopHigh ? withFullContrast(desktop) : readableRoles(desktop));
    return;
  }
  const bool isDark = appearance.colorScheme == ColorScheme::noPreference
                          ? Colors(desktop).isDark()
                          : appearance.colorScheme == ColorScheme::dark;
  QApplication::setPalette(
      palette(isDark, isHigh || isDesktopHigh ? Contrast::high : Contrast::normal));
}

}  // namespace stowboard
