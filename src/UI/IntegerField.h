#pragma once

#include <QLineEdit>
#include <cstdint>
#include <functional>

namespace stowboard {

/// A field for a whole number, in the digits and with the grouping of its locale. What is typed
/// counts when Return is pressed or the focus leaves; Escape takes it back, and what is no number
/// is taken back too. Main thread.
class IntegerField : public QLineEdit {
 public:
  explicit IntegerField(QWidget* parent = nullptr);

  /// Leaves what is being typed alone.
  void showValue(std::int64_t value);

  /// The user entered a number. `showValue` tells what became of it.
  std::function<void(std::int64_t value)> onCommit;

 protected:
  void focusOutEvent(QFocusEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

 private:
  bool isEdited() const { return text() != shown_; }
  void commit();
  void restore();

  std::int64_t value_ = 0;
  /// The text of the value.
  QString shown_;
};

}  // namespace stowboard
