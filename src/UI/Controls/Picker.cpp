#include "UI/Controls/Picker.h"

#include <QAbstractItemView>
#include <QStylePainter>
#include <QWheelEvent>
#include <utility>

#include "UI/Looks/Colors.h"

namespace stowboard {

Picker::Picker() {
  setSizeAdjustPolicy(QComboBox::AdjustToContents);
  setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
  setFocusPolicy(Qt::StrongFocus);
  connect(this, &QComboBox::activated, this, [this](int index) {
    if (std::exchange(shown_, index) != index && onChoose) onChoose(index);
  });
}

void Picker::addChoice(std::string_view text, std::string_view words) {
  addItem(QString::fromUtf8(text));
  if (words.empty()) return;
  for (const int role : {Qt::ToolTipRole, Qt::AccessibleTextRole})
    setItemData(count() - 1, QString::fromUtf8(words), role);
}

void Picker::showChoice(int index, std::string_view other) {
  shown_ = index;
  const QString placeholder = index < 0 ? QString::fromUtf8(other) : QString();
  if (placeholder != placeholderText()) {
    setPlaceholderText(placeholder);
    forgetSizeHint();
  }
  setToolTip(itemData(index, Qt::ToolTipRole).toString());
  setAccessibleDescription(index < 0 ? placeholder : toolTip());
  if (!view()->isVisible()) setCurrentIndex(shown_);
}

// The toolkit counts the placeholder in, but only when the choices change.
void Picker::forgetSizeHint() {
  setSizeAdjustPolicy(QComboBox::AdjustToContentsOnFirstShow);
  setSizeAdjustPolicy(QComboBox::AdjustToContents);
}

// Styles derive the list's frame from the colours of the window, which leaves none on black.
void Picker::showPopup() {
  QStyleOptionComboBox option;
  initStyleOption(&option);
  const int usual = style()->styleHint(QStyle::SH_ComboBox_PopupFrameStyle, &option, this);
  const bool needsEdge = Colors(palette()).isHighContrast();
  if (auto* list = qobject_cast<QFrame*>(view()->parentWidget()))
    list->setFrameStyle(needsEdge ? static_cast<int>(QFrame::Box) | QFrame::Plain : usual);
  QComboBox::showPopup();
}

// Comes before the choice that the user made in the list, if any.
void Picker::hidePopup() {
  QComboBox::hidePopup();
  setCurrentIndex(shown_);
}

// What is not among the choices is no hint to make one, as the toolkit would show it.
void Picker::paintEvent(QPaintEvent*) {
  QStyleOptionComboBox option;
  initStyleOption(&option);
  if (currentIndex() < 0) option.currentText = placeholderText();
  QStylePainter painter(this);
  painter.drawComplexControl(QStyle::CC_ComboBox, option);
  painter.drawControl(QStyle::CE_ComboBoxLabel, option);
  painter.end();
  paintHighContrastFrame(*this);
}

void Picker::wheelEvent(QWheelEvent* event) {
  if (!hasFocus()) return event->ignore();
  QComboBox::wheelEvent(event);
}

}  // namespace stowboard
