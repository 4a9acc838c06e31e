#pragma once

#include <QString>

#include "Base/DateFormat.h"
#include "Models/AppSettings.h"
#include "Models/ClipItem.h"

namespace stowboard {

/// The words of a history row, in the language of the settings. Main thread.
class RowTexts {
 public:
  /// The rows that have a shortcut: one for each digit from 1.
  static constexpr int shortcutCount = 9;

  explicit RowTexts(const AppSettings& settings);

  /// Whether rows made with these settings would read the same.
  bool matches(const AppSettings& settings) const;

  /// The moment of capture.
  QString date(const ClipItem& clip) const;
  /// The symbols before the digit of a shortcut, for instance ⌘⌥.
  QString shortcutSymbols() const;
  /// The whole row, for a screen reader. `row` counts from 0.
  QString description(const ClipItem& clip, int row) const;

 private:
  AppLanguage language_;
  DirectPasteModifierPair pair_;
  DateFormat dateFormat_;
};

}  // namespace stowboard
