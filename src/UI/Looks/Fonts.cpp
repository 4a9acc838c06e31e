#include "UI/Looks/Fonts.h"

#include <QFontInfo>
#include <QStringList>
#include <QWidget>

namespace stowboard {

namespace {

// Without a Chinese locale fontconfig offers the Japanese forms of shared ideographs first.
QStringList withSimplifiedChinese(const QFont& font) {
  // The family that is really used: a generic name such as "Sans Serif" would not be found here,
  // and the Chinese font would draw all of the text.
  return QStringList(QFontInfo(font).family()) + font.families()
         << QStringLiteral("Noto Sans CJK SC") << QStringLiteral("Noto Sans SC")
         << QStringLiteral("Source Han Sans SC") << QStringLiteral("WenQuanYi Micro Hei");
}

// Below it the strokes of Chinese run together.
constexpr int leastPixelSize = 10;

QFont scaled(QFont font, double factor) {
  if (font.pointSizeF() > 0) {
    font.setPointSizeF(font.pointSizeF() * factor);
  } else {
    font.setPixelSize(qMax(1, qRound(font.pixelSize() * factor)));
  }
  return font;
}

}  // namespace

QFont Fonts::body(const QFont& application) {
  QFont font = application;
  font.setFamilies(withSimplifiedChinese(font));
  return font;
}

void Fonts::useFamilies(QWidget& window) {
  QFont own;
  own.setFamilies(body(window.font()).families());
  window.setFont(own);
}

QFont Fonts::callout(const QFont& application) { return scaled(body(application), 12.0 / 13); }

QFont Fonts::caption(const QFont& application) {
  QFont font = scaled(body(application), 10.0 / 13);
  if (QFontInfo(font).pixelSize() < leastPixelSize) font.setPixelSize(leastPixelSize);
  return font;
}

}  // namespace stowboard
