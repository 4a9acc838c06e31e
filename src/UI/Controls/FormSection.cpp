#include "UI/Controls/FormSection.h"

#include <QPainter>
#include <QPainterPath>
#include <vector>

#include "UI/Looks/Colors.h"

namespace stowboard {

namespace {

constexpr int titleIndent = 12;
constexpr int titleGap = 6;
constexpr int hairlineIndent = 12;
constexpr qreal radius = 9;

// Dark palettes have their darkest colour in the base, where a group is to stand out from the
// window.
QColor groundColor(const QPalette& palette) {
  const Colors colors(palette);
  if (!colors.isDark() || colors.isHighContrast()) return colors.controlBackground();
  return palette.color(QPalette::Window).lighter(118);
}

}  // namespace

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
    painter.setBrush(groundColor(palette()));
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

FormSection::FormSection(QWidget* parent)
    : QWidget(parent), title_(new QLabel(this)), ground_(new Ground(this)) {
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
