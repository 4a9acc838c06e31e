#pragma once

#include <QComboBox>
#include <functional>
#include <string_view>

namespace stowboard {

/// A drop-down list of fixed choices, at its natural width. The mouse wheel changes it only while
/// it has the focus, and otherwise scrolls what it stands on. Main thread.
class Picker : public QComboBox {
 public:
  Picker();

  /// UTF-8. A tool tip and screen readers tell what `words` say as well, if anything.
  void addChoice(std::string_view text, std::string_view words = {});

  /// Shows a choice, or with -1 the text of something that is not among the choices. While the list
  /// is open the choice waits until it has been closed.
  void showChoice(int index, std::string_view other = {});

  /// The user chose another one than is shown.
  std::function<void(int index)> onChoose;

  void showPopup() override;
  void hidePopup() override;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;

 private:
  void forgetSizeHint();

  int shown_ = -1;
};

}  // namespace stowboard
