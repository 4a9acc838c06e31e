#pragma once

#include <QLabel>

namespace stowboard {

/// Shows a shortcut as the cap of a key: semibold and monospaced, in an outline; on several lines
/// where there is no room for it on one. Main thread.
class KeyCap : public QLabel {
 public:
  KeyCap();

  QSize sizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;
};

}  // namespace stowboard
