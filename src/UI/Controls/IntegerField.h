#pragma once

#include <cstdint>
#include <functional>

#include "UI/Controls/TextField.h"

namespace stowboard {

/// A field for a whole number, in the digits and with the grouping of its locale. What is typed
/// counts when Return is pressed, the focus leaves or the program ends; Escape takes it back, and
/// what is no number is taken back too. As wide as asked for, or as its largest number needs in a
/// large font. Main thread.
class IntegerField : public TextField {
 public:
  /// The width in device-independent pixels.
  IntegerField(std::int64_t largest, int width, const Pasteboard& pasteboard);

  /// Leaves what is being typed alone.
  void showValue(std::int64_t value);

  /// The user entered a number. `showValue` tells what became of it.
  std::function<void(std::int64_t value)> onCommit;

  QSize sizeHint() const override;
  QSize minimumSizeHint() const override { return sizeHint(); }

 protected:
  void focusOutEvent(QFocusEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

 private:
  bool isEdited() const { return text() != shown_; }
  void commit();
  void restore();

  QString textOf(std::int64_t value) const;

  const std::int64_t largest_;
  const int width_;
  std::int64_t value_ = 0;
  /// The text of the value.
  QString shown_;
};

}  // namespace stowboard
