#pragma once

#include <QLabel>

namespace stowboard {

/// Shows a shortcut as the cap of a key: semibold and monospaced, in an outline. Main thread.
class KeyCap : public QLabel {
 public:
  explicit KeyCap(QWidget* parent = nullptr);

 protected:
  void paintEvent(QPaintEvent* event) override;
};

}  // namespace stowboard
