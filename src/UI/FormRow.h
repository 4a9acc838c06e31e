#pragma once

#include <QHBoxLayout>
#include <QLabel>
#include <QWidget>
#include <initializer_list>
#include <string_view>

namespace stowboard {

/// One row of a form: a label at its leading edge, and at its trailing edge what belongs to the
/// label. Main thread.
class FormRow : public QWidget {
 public:
  /// Takes the widgets over, which stand `gap` device-independent pixels apart. The label is the
  /// accessible name of the first one that can take the focus.
  explicit FormRow(std::initializer_list<QWidget*> trailing, int gap = 8);

  /// A row of one widget, which is as wide as the row unless it is aligned.
  static QWidget* filledWith(QWidget* content, Qt::Alignment alignment = {});

  /// UTF-8.
  void setLabel(std::string_view label);

 private:
  QLabel* label_;
};

}  // namespace stowboard
