#pragma once

#include <QLabel>
#include <string_view>

#include "UI/Looks/Colors.h"

namespace stowboard {

/// A small text below a control that tells more about it, in a colour of its own that follows the
/// palette. Main thread.
class FormNote : public QLabel {
 public:
  using Color = QColor (Colors::*)() const;

  explicit FormNote(Color color, QWidget* parent = nullptr);

  /// UTF-8.
  void setNote(std::string_view text) { setText(QString::fromUtf8(text)); }

 protected:
  void changeEvent(QEvent* event) override;

 private:
  void applyColor();

  const Color color_;
};

}  // namespace stowboard
