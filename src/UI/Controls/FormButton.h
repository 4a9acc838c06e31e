#pragma once

#include <QPushButton>

#include "UI/Looks/HighContrastFrame.h"

namespace stowboard {

/// A push button with room around its text, for a form; never a window's default by itself. Main
/// thread.
class FormButton : public QPushButton {
 public:
  explicit FormButton(QWidget* parent = nullptr) : QPushButton(parent) { setAutoDefault(false); }

  QSize sizeHint() const override { return QPushButton::sizeHint() + QSize(16, 2); }

 protected:
  void paintEvent(QPaintEvent* event) override {
    QPushButton::paintEvent(event);
    paintHighContrastFrame(*this);
  }
};

}  // namespace stowboard
