#pragma once

#include <QLabel>
#include <QVBoxLayout>
#include <QWidget>
#include <string_view>

namespace stowboard {

/// A part of a form: its title, and below it its rows on a rounded ground, hairlines between those
/// that are visible. Main thread.
class FormSection : public QWidget {
 public:
  explicit FormSection(QWidget* parent = nullptr);

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
