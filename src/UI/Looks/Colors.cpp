#include "UI/Looks/Colors.h"

#include <QEvent>
#include <QPainter>
#include <QWidget>
#include <algorithm>
#include <cmath>
#include <initializer_list>

namespace stowboard {

namespace {

QColor withAlpha(QColor color, float alpha) {
  color.setAlphaF(alpha);
  return color;
}

double linear(double channel) {
  return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

double luminance(const QColor& color) {
  return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) +
         0.0722 * linear(color.blueF());
}

/// A child of the widget that it tints.
class Tint : public QObject {
 public:
  Tint(QWidget& widget, QPalette::ColorRole role, Colors::Getter color)
      : QObject(&widget), widget_(widget), role_(role), color_(color) {
    widget.installEventFilter(this);
    apply();
  }

  bool eventFilter(QObject* /*watched*/, QEvent* event) override {
    if (event->type() == QEvent::PaletteChange) apply();
    return false;
  }

 private:
  void apply() {
    const QColor color = (Colors(widget_.palette()).*color_)();
    if (widget_.palette().color(role_) == color) return;
    // Only this role, so that the others go on following the window's.
    QPalette own;
    own.setColor(role_, color);
    widget_.setPalette(own);
  }

  QWidget& widget_;
  const QPalette::ColorRole role_;
  const Colors::Getter color_;
};

// The weakest share of a colour that is readable on each of the grounds it is mixed towards.
QColor weakened(const QColor& color, const QColor& towards, std::initializer_list<QColor> grounds,
                double share) {
  for (; share < 1; share += 0.05) {
    const QColor weaker = mixed(color, towards, share);
    const auto isReadableOn = [&](const QColor& ground) {
      return contrast(weaker, ground) >= readableContrast;
    };
    if (std::ranges::all_of(grounds, isReadableOn)) return weaker;
  }
  return color;
}

}  // namespace

QColor mixed(const QColor& over, const QColor& under, double share) {
  const auto channel = [share](double upper, double lower) {
    return static_cast<float>(share * upper + (1 - share) * lower);
  };
  return QColor::fromRgbF(channel(over.redF(), under.redF()),
                          channel(over.greenF(), under.greenF()),
                          channel(over.blueF(), under.blueF()));
}

double contrast(const QColor& first, const QColor& second) {
  const auto [darker, lighter] = std::minmax({luminance(first), luminance(second)});
  return (lighter + 0.05) / (darker + 0.05);
}

bool Colors::isDark() const {
  return palette_.color(QPalette::Window).lightness() <
         palette_.color(QPalette::WindowText).lightness();
}

bool Colors::isHighContrast() const {
  return palette_.color(QPalette::PlaceholderText) == palette_.color(QPalette::Text);
}

QColor Colors::primary() const { return palette_.color(QPalette::Text); }

QColor Colors::secondary() const {
  if (isHighContrast()) return primary();
  const QColor window = palette_.color(QPalette::Window);
  const QColor row = mixed(primary(), window, alternateRow().alphaF());
  return weakened(primary(), palette_.color(QPalette::Base), {window, row, formGround()}, 0.6);
}

QColor Colors::separator() const {
  return isHighContrast() ? primary() : mixed(primary(), palette_.color(QPalette::Window), 0.18);
}

QColor Colors::controlBackground() const { return palette_.color(QPalette::Base); }

QColor Colors::formGround() const {
  if (!isDark() || isHighContrast()) return controlBackground();
  return palette_.color(QPalette::Window).lighter(118);
}

QColor Colors::alternateRow() const { return withAlpha(primary(), isDark() ? 0.06F : 0.045F); }

QColor Colors::placeholder() const { return withAlpha(primary(), 0.1F); }

QColor Colors::selection() const { return palette_.color(QPalette::Highlight); }

QColor Colors::primaryOnSelection() const { return palette_.color(QPalette::HighlightedText); }

QColor Colors::secondaryOnSelection() const {
  if (isHighContrast()) return primaryOnSelection();
  return weakened(primaryOnSelection(), selection(), {selection()}, secondaryShare);
}

Colors::Pair Colors::badge(bool isOnSelection) const {
  if (isOnSelection) return {primaryOnSelection(), selection()};
  return {withAlpha(orange(), isHighContrast() ? 0.4F : 0.15F), primary()};
}

Colors::Pair Colors::match(bool isOnSelection) const {
  if (isOnSelection) return {primaryOnSelection(), selection()};
  if (isHighContrast()) return {selection(), primaryOnSelection()};
  return {withAlpha(orange(), 0.4F), primary()};
}

QColor Colors::red() const { return isDark() ? QColor(0xff8a82) : QColor(0xc4231c); }
QColor Colors::green() const { return isDark() ? QColor(0x32d74b) : QColor(0x248a3d); }
QColor Colors::orange() const { return isDark() ? QColor(0xff9f0a) : QColor(0xf57c00); }

void tint(QWidget& widget, QPalette::ColorRole role, Colors::Getter color) {
  new Tint(widget, role, color);
}

void paintHighContrastFrame(QWidget& control) {
  const Colors colors(control.palette());
  if (control.hasFocus() || !colors.isHighContrast()) return;
  QPainter painter(&control);
  painter.setPen(colors.separator());
  painter.drawRect(control.rect().adjusted(0, 0, -1, -1));
}

}  // namespace stowboard
