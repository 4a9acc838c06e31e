#include "UI/Panel/EmptyStateView.h"

#include <QFontMetrics>
#include <QLabel>
#include <QVBoxLayout>

#include "UI/Looks/Colors.h"
#include "UI/Looks/Fonts.h"
#include "UI/Panel/ClipPreview.h"

namespace stowboard {

namespace {

constexpr int iconSize = 28;
constexpr int spacing = 8;
constexpr int sideMargin = 24;

}  // namespace

EmptyStateView::EmptyStateView(QWidget* parent)
    : QWidget(parent), icon_(new QLabel(this)), label_(new QLabel(this)) {
  setAttribute(Qt::WA_TransparentForMouseEvents);
  label_->setTextFormat(Qt::PlainText);
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(sideMargin, 0, sideMargin, 0);
  column->setSpacing(spacing);
  column->addStretch();
  column->addWidget(icon_, 0, Qt::AlignHCenter);
  column->addWidget(label_, 0, Qt::AlignHCenter);
  column->addStretch();
}

void EmptyStateView::show(Symbol symbol, const QString& text) {
  if (symbol == symbol_ && text == text_ && !isHidden()) return;
  symbol_ = symbol;
  text_ = text;
  updateContent();
  QWidget::show();
}

void EmptyStateView::updateLooks(const QFont& applicationFont) {
  label_->setFont(Fonts::callout(applicationFont));
  QPalette palette;
  palette.setColor(QPalette::WindowText, Colors(this->palette()).secondary());
  label_->setPalette(palette);
  updateContent();
}

void EmptyStateView::resizeEvent(QResizeEvent* /*event*/) { updateContent(); }

void EmptyStateView::updateContent() {
  icon_->setPixmap(
      Icons::pixmap(symbol_, iconSize, Colors(palette()).secondary(), devicePixelRatioF()));
  const QString line = printable(text_.toStdString()).replace(QChar::LineSeparator, u' ');
  const int room = width() - 2 * sideMargin;
  label_->setText(QFontMetrics(label_->font()).elidedText(line, Qt::ElideMiddle, room));
  label_->setAccessibleName(text_);
}

}  // namespace stowboard
