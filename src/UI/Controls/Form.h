#pragma once

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <map>
#include <string_view>
#include <vector>

#include "UI/Looks/Colors.h"

namespace stowboard {

/// A push button with room around its text, for a form; never a window's default by itself. Main
/// thread.
class FormButton : public QPushButton {
 public:
  FormButton() { setAutoDefault(false); }

  QSize sizeHint() const override { return QPushButton::sizeHint() + QSize(16, 2); }

 protected:
  void paintEvent(QPaintEvent* event) override {
    QPushButton::paintEvent(event);
    paintHighContrastFrame(*this);
  }
};

/// Shows a shortcut as the cap of a key: semibold and monospaced, in an outline; on several lines
/// where there is no room for it on one. Main thread.
class KeyCap : public QLabel {
 public:
  KeyCap();

  QSize sizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;
};

/// A check box that looks like a switch; its name is the label whose buddy it is. Main thread.
class Switch : public QCheckBox {
 public:
  Switch();

  QSize sizeHint() const override;
  QSize minimumSizeHint() const override { return sizeHint(); }

 protected:
  void paintEvent(QPaintEvent* event) override;
  bool hitButton(const QPoint& position) const override { return rect().contains(position); }
};

/// A small text below a control that tells more about it. Main thread.
class FormNote : public QLabel {
 public:
  explicit FormNote(Colors::Getter color);
};

/// One row of a form: a label at its leading edge, and at its trailing edge what belongs to the
/// label. Main thread.
class FormRow : public QWidget {
 public:
  static constexpr int usualGap = 8;

  /// Takes the widgets over, which stand `gap` device-independent pixels apart.
  explicit FormRow(const std::vector<QWidget*>& trailing, int gap = usualGap);

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

/// A part of a form: its title, and below it its rows on a rounded ground, hairlines between those
/// that are visible. Main thread.
class FormSection : public QWidget {
 public:
  FormSection();

  /// UTF-8. A section whose title was never set shows none.
  void setTitle(std::string_view title);

  /// Below the rows that are there; the section takes it over.
  void addRow(QWidget* row);

 private:
  class Ground;

  QLabel* title_;
  Ground* ground_;
};

}  // namespace stowboard
