#pragma once

#include <string>
#include <string_view>

#include "Models/AppLanguage.h"

namespace stowboard {

/// One text in the languages of the interface, UTF-8.
struct LocalizedText {
  std::string_view english;
  std::string_view simplifiedChinese;

  constexpr std::string_view operator()(AppLanguage language) const {
    return language == AppLanguage::simplifiedChinese ? simplifiedChinese : english;
  }
};

/// Every text of the menu, the history panel and the settings window, UTF-8, in the languages of
/// the interface. The system's own locale plays no part. Safe to use from any thread.
class L10n {
 public:
  L10n() = delete;

  // The status item's menu.
  static constexpr LocalizedText menuHelp{"Help", "帮助"};
  static constexpr LocalizedText menuSettings{"Settings", "设置"};
  static constexpr LocalizedText menuQuit{"Quit Stowboard", "退出 Stowboard"};
  static std::string menuVersion(AppLanguage language, std::string_view version);

  // The history panel.
  static constexpr LocalizedText searchPlaceholder{"Search history…", "搜索历史记录…"};
  static constexpr LocalizedText noHistoryYet{"No clipboard history yet", "暂无剪贴板历史"};
  /// The query is inserted as it was typed.
  static std::string noResults(AppLanguage language, std::string_view query);
  /// Pattern of a row's time (UTS #35), and the locale of the names in it.
  static constexpr LocalizedText dateFormat{"MMM d, HH:mm", "M月d日 HH:mm"};
  static constexpr LocalizedText dateLocaleIdentifier{"en_US_POSIX", "zh_CN"};

  // The menu of a text field.
  static constexpr LocalizedText undo{"Undo", "撤销"};
  static constexpr LocalizedText redo{"Redo", "重做"};
  static constexpr LocalizedText cut{"Cut", "剪切"};
  static constexpr LocalizedText copy{"Copy", "复制"};
  static constexpr LocalizedText paste{"Paste", "粘贴"};
  static constexpr LocalizedText selectAll{"Select All", "全选"};

  // The settings window.
  static constexpr LocalizedText settingsTitle{"Stowboard Settings", "Stowboard 设置"};
  static constexpr LocalizedText generalSection{"General", "通用"};
  static constexpr LocalizedText language{"Language", "界面语言"};
  static constexpr LocalizedText launchAtLogin{"Launch at Login", "开机自动启动"};
  static constexpr LocalizedText hotKeySection{"Keyboard Shortcuts", "快捷键设置"};
  static constexpr LocalizedText showHistoryPanel{"Show History Panel", "呼出历史记录面板"};
  static constexpr LocalizedText directPasteSection{"Direct Paste (1~9)", "免唤起直接粘贴 (1~9)"};
  static constexpr LocalizedText historySection{"History", "历史记录"};
  static constexpr LocalizedText maxRecords{"Maximum records", "最大记录数量"};
  static constexpr LocalizedText permissionSection{"Accessibility Permission", "辅助功能权限"};
  static constexpr LocalizedText permissionStatus{"Status", "授权状态"};
  static constexpr LocalizedText permissionGranted{"Granted", "已授权"};
  static constexpr LocalizedText permissionNotGranted{"Not granted", "未授权"};
  static constexpr LocalizedText openSystemSettings{"Open System Settings…", "打开系统设置…"};
  static constexpr LocalizedText noSystemSettings{
      "This desktop has no settings page for this permission, or it is not installed.",
      "此桌面没有该权限的设置页面，或尚未安装。"};
  static constexpr LocalizedText permissionPrompt{
      "Direct paste needs this permission; otherwise simulated ⌘V is silently dropped.",
      "模拟直接粘贴（⌘V）需要此权限，若未授权系统将静默忽略粘贴按键。"};
  static constexpr LocalizedText clearAllHistory{"Clear All History", "清空所有历史记录"};
  static constexpr LocalizedText clearHistoryDialogTitle{"Clear all clipboard history?",
                                                         "确定要清空所有剪贴板历史记录吗？"};
  static constexpr LocalizedText clearHistoryConfirm{"Clear History", "清空历史"};
  static constexpr LocalizedText cancel{"Cancel", "取消"};
  static constexpr LocalizedText cannotBeUndone{"This cannot be undone.", "此操作无法撤销。"};

  // For screen readers.
  static constexpr LocalizedText searchField{"Search history", "搜索历史记录"};
  static constexpr LocalizedText clearSearch{"Clear search", "清除搜索内容"};
  static constexpr LocalizedText historyList{"Clipboard history", "剪贴板历史记录"};
  /// `shortcut` is empty for a row that has none.
  static std::string historyRow(AppLanguage language, std::string_view preview,
                                std::string_view time, std::string_view shortcut);
  static constexpr LocalizedText firstModifier{"First modifier key", "第一个修饰键"};
  static constexpr LocalizedText secondModifier{"Second modifier key", "第二个修饰键"};
  static constexpr LocalizedText hotKeyKey{"Key", "按键"};
  static constexpr LocalizedText directPasteModifiers{"Modifier keys for direct paste",
                                                      "直接粘贴的修饰键"};
};

}  // namespace stowboard
