#include "UI/Controls/Form.h"

#include <QFontDatabase>
#include <QPainter>
#include <QVBoxLayout>

namespace stowboard {

namespace {

constexpr int padding = 12;
constexpr int verticalPadding = 6;
constexpr int leastHeight = 38;

QHBoxLayout* makeLayout(QWidget* row, int gap) {
  auto* line = new QHBoxLayout(row);
  line->setContentsMargins(padding, verticalPadding, padding, verticalPadding);
  line->setSpacing(gap);
  return line;
}

constexpr int titleIndent = 12;
constexpr int titleGap = 6;
constexpr int hairlineIndent = 12;
constexpr qreal radius = 9;

constexpr QSize switchSize(38, 22);
constexpr qreal knobInset = 2.5;

QColor trackColor(const QPalette& palette, bool isOn) {
  if (isOn) return palette.color(QPalette::Highlight);
  QColor off = palette.color(QPalette::Text);
  off.setAlphaF(0.22F);
  return off;
}

// The focus is told by the outline, so that it shows on either colour of the track.
QPen outline(const QPalette& palette, bool hasFocus) {
  const Colors colors(palette);
  if (hasFocus) return {colors.primary(), 2};
  return colors.isHighContrast() ? QPen(colors.primary(), 1) : QPen(Qt::NoPen);
}

}  // namespace

KeyCap::KeyCap() {
  QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
  font.setPixelSize(13);
  font.setWeight(QFont::DemiBold);
  setFont(font);
  setContentsMargins(8, 3, 8, 3);
  setTextFormat(Qt::PlainText);
  setWordWrap(true);
}

// On one line; the toolkit would rather break it.
QSize KeyCap::sizeHint() const {
  const QSize line = fontMetrics().size(Qt::TextSingleLine, text());
  return line.grownBy(contentsMargins());
}

void KeyCap::paintEvent(QPaintEvent* event) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const Colors colors(palette());
  painter.setPen(QPen(colors.separator(), 1));
  painter.setBrush(colors.controlBackground());
  painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 5, 5);
  painter.end();
  QLabel::paintEvent(event);
}

Switch::Switch() { setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed); }

QSize Switch::sizeHint() const { return switchSize; }

void Switch::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const QPen pen = outline(palette(), hasFocus());
  const qreal inset = pen.style() == Qt::NoPen ? 0 : pen.widthF() / 2;
  const QRectF track = QRectF(rect()).adjusted(inset, inset, -inset, -inset);
  painter.setPen(pen);
  painter.setBrush(trackColor(palette(), isChecked()));
  painter.drawRoundedRect(track, track.height() / 2, track.height() / 2);

  const qreal diameter = height() - 2 * knobInset;
  const bool isAtRight = isChecked() == (layoutDirection() == Qt::LeftToRight);
  const qreal left = isAtRight ? width() - knobInset - diameter : knobInset;
  painter.setPen(QPen(QColor(0, 0, 0, 40), 0.5));
  painter.setBrush(Qt::white);
  painter.drawEllipse(QRectF(left, knobInset, diameter, diameter));
}

FormNote::FormNote(Colors::Getter color) {
  QFont small;
  small.setPixelSize(11);
  setFont(small);
  setTextFormat(Qt::PlainText);
  setWordWrap(true);
  tint(*this, QPalette::WindowText, color);
}

FormRow::FormRow(const std::vector<QWidget*>& trailing, int gap) : label_(new QLabel(this)) {
  setMinimumHeight(leastHeight);
  auto* line = makeLayout(this, gap);
  line->addWidget(label_, 1);
  for (QWidget* widget : trailing) line->addWidget(widget, 0, Qt::AlignVCenter);
}

QWidget* FormRow::filledWith(QWidget* content, Qt::Alignment alignment) {
  auto* row = new QWidget;
  makeLayout(row, 0)->addWidget(content, 0, alignment);
  return row;
}

void FormRow::setLabel(std::string_view label) {
  label_->setText(QString::fromUtf8(label));
  if (label_->buddy()) return;
  for (int index = 1; index < layout()->count(); ++index) {
    QWidget* widget = layout()->itemAt(index)->widget();
    if (widget->focusPolicy() != Qt::NoFocus) return label_->setBuddy(widget);
  }
}

void FormRow::setUnseenLabel(QWidget* widget, std::string_view label) {
  QLabel*& unseen = unseenLabels_[widget];
  if (!unseen) {
    unseen = new QLabel(this);
    unseen->hide();
    unseen->setBuddy(widget);
  }
  unseen->setText(QString::fromUtf8(label));
}

/// What the rows of a section lie on.
class FormSection::Ground : public QWidget {
 public:
  explicit Ground(QWidget* parent) : QWidget(parent) {
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
  }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QColor line = Colors(palette()).separator();
    painter.setPen(QPen(line, 1));
    painter.setBrush(Colors(palette()).formGround());
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
    for (const int top : hairlines()) {
      painter.fillRect(hairlineIndent, top, width() - 2 * hairlineIndent, 1, line);
    }
  }

 private:
  std::vector<int> hairlines() const {
    std::vector<int> tops;
    for (int index = 0; index < layout()->count(); ++index) {
      const QWidget* row = layout()->itemAt(index)->widget();
      if (!row->isHidden()) tops.push_back(row->y());
    }
    if (!tops.empty()) tops.erase(tops.begin());
    return tops;
  }
};

FormSection::FormSection() : title_(new QLabel(this)), ground_(new Ground(this)) {
  QFont semibold;
  semibold.setWeight(QFont::DemiBold);
  title_->setFont(semibold);
  title_->setIndent(titleIndent);
  title_->hide();
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(0, 0, 0, 0);
  column->setSpacing(titleGap);
  column->addWidget(title_);
  column->addWidget(ground_);
}

void FormSection::setTitle(std::string_view title) {
  title_->setText(QString::fromUtf8(title));
  title_->show();
}

void FormSection::addRow(QWidget* row) { ground_->layout()->addWidget(row); }

}  // namespace stowboard
