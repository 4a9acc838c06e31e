#pragma once

#include <string>
#include <string_view>

#include "Models/AppLanguage.h"

namespace stowboard {

/// Every text of the menu, the history panel and the settings window, UTF-8, in the languages of
/// the interface. The system's own locale plays no part. Safe to use from any thread.
class L10n {
 public:
  L10n() = delete;

  // The status item's menu.
  static std::string_view menuHelp(AppLanguage language);
  static std::string_view menuSettings(AppLanguage language);
  static std::string_view menuQuit(AppLanguage language);
  static std::string menuVersion(AppLanguage language, std::string_view version);

  // The history panel.
  static std::string_view searchPlaceholder(AppLanguage language);
  static std::string_view noHistoryYet(AppLanguage language);
  /// The query is inserted as it was typed.
  static std::string noResults(AppLanguage language, std::string_view query);
  /// Pattern of a row's time (UTS #35), and the locale of the names in it.
  static std::string_view dateFormat(AppLanguage language);
  static std::string_view dateLocaleIdentifier(AppLanguage language);

  // The menu of a text field.
  static std::string_view undo(AppLanguage language);
  static std::string_view redo(AppLanguage language);
  static std::string_view cut(AppLanguage language);
  static std::string_view copy(AppLanguage language);
  static std::string_view paste(AppLanguage language);
  static std::string_view selectAll(AppLanguage language);

  // The settings window.
  static std::string_view settingsTitle(AppLanguage language);
  static std::string_view generalSection(AppLanguage language);
  static std::string_view language(AppLanguage language);
  static std::string_view launchAtLogin(AppLanguage language);
  static std::string_view hotKeySection(AppLanguage language);
  static std::string_view showHistoryPanel(AppLanguage language);
  static std::string_view directPasteSection(AppLanguage language);
  static std::string_view historySection(AppLanguage language);
  static std::string_view maxRecords(AppLanguage language);
  static std::string_view permissionSection(AppLanguage language);
  static std::string_view permissionStatus(AppLanguage language);
  static std::string_view permissionGranted(AppLanguage language);
  static std::string_view permissionNotGranted(AppLanguage language);
  static std::string_view openSystemSettings(AppLanguage language);
  static std::string_view permissionPrompt(AppLanguage language);
  static std::string_view clearAllHistory(AppLanguage language);
  static std::string_view clearHistoryDialogTitle(AppLanguage language);
  static std::string_view clearHistoryConfirm(AppLanguage language);
  static std::string_view cancel(AppLanguage language);
  static std::string_view cannotBeUndone(AppLanguage language);

  // For screen readers.
  static std::string_view searchField(AppLanguage language);
  static std::string_view clearSearch(AppLanguage language);
  static std::string_view historyList(AppLanguage language);
  /// `shortcut` is empty for a row that has none.
  static std::string historyRow(AppLanguage language, std::string_view preview,
                                std::string_view time, std::string_view shortcut);

  // For screen readers.
  static std::string_view firstModifier(AppLanguage language);
  static std::string_view secondModifier(AppLanguage language);
  static std::string_view hotKeyKey(AppLanguage language);
  static std::string_view directPasteModifiers(AppLanguage language);
};

}  // namespace stowboard
