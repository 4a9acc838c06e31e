#pragma once

#include <QHBoxLayout>
#include <QLabel>
#include <QWidget>
#include <initializer_list>
#include <map>
#include <string_view>

namespace stowboard {

/// One row of a form: a label at its leading edge, and at its trailing edge what belongs to the
/// label. Main thread.
class FormRow : public QWidget {
 public:
  /// Takes the widgets over, which stand `gap` device-independent pixels apart.
  explicit FormRow(std::initializer_list<QWidget*> trailing, int gap = 8);

  /// A row of one widget, which is as wide as the row unless it is aligned.
  static QWidget* filledWith(QWidget* content, Qt::Alignment alignment = {});

  /// UTF-8. To a screen reader it also names the first widget that can take the focus.
  void setLabel(std::string_view label);

  /// Names one of the widgets to a screen reader only. UTF-8.
  void setUnseenLabel(QWidget* widget, std::string_view label);

 private:
  QLabel* label_;
  /// By the widget that each one names. A screen reader takes the name of a drop-down list from a
  /// label's text, not from the list's own accessible name.
  std::map<QWidget*, QLabel*> unseenLabels_;
};

}  // namespace stowboard
