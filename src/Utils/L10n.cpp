#include "Utils/L10n.h"

#include <fmt/format.h>

namespace stowboard {

namespace {

constexpr std::string_view chosen(AppLanguage language, std::string_view english,
                                  std::string_view simplifiedChinese) {
  return language == AppLanguage::simplifiedChinese ? simplifiedChinese : english;
}

}  // namespace

std::string_view L10n::menuHelp(AppLanguage language) { return chosen(language, "Help", "帮助"); }

std::string_view L10n::menuSettings(AppLanguage language) {
  return chosen(language, "Settings", "设置");
}

std::string_view L10n::menuQuit(AppLanguage language) {
  return chosen(language, "Quit Stowboard", "退出 Stowboard");
}

std::string L10n::menuVersion(AppLanguage language, std::string_view version) {
  return fmt::format("{}: {}", chosen(language, "Version", "版本"), version);
}

std::string_view L10n::searchPlaceholder(AppLanguage language) {
  return chosen(language, "Search history…", "搜索历史记录…");
}

std::string_view L10n::noHistoryYet(AppLanguage language) {
  return chosen(language, "No clipboard history yet", "暂无剪贴板历史");
}

std::string L10n::noResults(AppLanguage language, std::string_view query) {
  return language == AppLanguage::simplifiedChinese
             ? fmt::format("未找到与 \"{}\" 相关的记录", query)
             : fmt::format("No results for \"{}\"", query);
}

std::string_view L10n::dateFormat(AppLanguage language) {
  return chosen(language, "MMM d, HH:mm", "M月d日 HH:mm");
}

std::string_view L10n::dateLocaleIdentifier(AppLanguage language) {
  return chosen(language, "en_US_POSIX", "zh_CN");
}

std::string_view L10n::undo(AppLanguage language) { return chosen(language, "Undo", "撤销"); }

std::string_view L10n::redo(AppLanguage language) { return chosen(language, "Redo", "重做"); }

std::string_view L10n::cut(AppLanguage language) { return chosen(language, "Cut", "剪切"); }

std::string_view L10n::copy(AppLanguage language) { return chosen(language, "Copy", "复制"); }

std::string_view L10n::paste(AppLanguage language) { return chosen(language, "Paste", "粘贴"); }

std::string_view L10n::selectAll(AppLanguage language) {
  return chosen(language, "Select All", "全选");
}

std::string_view L10n::settingsTitle(AppLanguage language) {
  return chosen(language, "Stowboard Settings", "Stowboard 设置");
}

std::string_view L10n::generalSection(AppLanguage language) {
  return chosen(language, "General", "通用");
}

std::string_view L10n::language(AppLanguage language) {
  return chosen(language, "Language", "界面语言");
}

std::string_view L10n::launchAtLogin(AppLanguage language) {
  return chosen(language, "Launch at Login", "开机自动启动");
}

std::string_view L10n::hotKeySection(AppLanguage language) {
  return chosen(language, "Keyboard Shortcuts", "快捷键设置");
}

std::string_view L10n::showHistoryPanel(AppLanguage language) {
  return chosen(language, "Show History Panel", "呼出历史记录面板");
}

std::string_view L10n::directPasteSection(AppLanguage language) {
  return chosen(language, "Direct Paste (1~9)", "免唤起直接粘贴 (1~9)");
}

std::string_view L10n::historySection(AppLanguage language) {
  return chosen(language, "History", "历史记录");
}

std::string_view L10n::maxRecords(AppLanguage language) {
  return chosen(language, "Maximum records", "最大记录数量");
}

std::string_view L10n::permissionSection(AppLanguage language) {
  return chosen(language, "Accessibility Permission", "辅助功能权限");
}

std::string_view L10n::permissionStatus(AppLanguage language) {
  return chosen(language, "Status", "授权状态");
}

std::string_view L10n::permissionGranted(AppLanguage language) {
  return chosen(language, "Granted", "已授权");
}

std::string_view L10n::permissionNotGranted(AppLanguage language) {
  return chosen(language, "Not granted", "未授权");
}

std::string_view L10n::openSystemSettings(AppLanguage language) {
  return chosen(language, "Open System Settings…", "打开系统设置…");
}

std::string_view L10n::permissionPrompt(AppLanguage language) {
  return chosen(language,
                "Direct paste needs this permission; otherwise simulated ⌘V is silently dropped.",
                "模拟直接粘贴（⌘V）需要此权限，若未授权系统将静默忽略粘贴按键。");
}

std::string_view L10n::clearAllHistory(AppLanguage language) {
  return chosen(language, "Clear All History", "清空所有历史记录");
}

std::string_view L10n::clearHistoryDialogTitle(AppLanguage language) {
  return chosen(language, "Clear all clipboard history?", "确定要清空所有剪贴板历史记录吗？");
}

std::string_view L10n::clearHistoryConfirm(AppLanguage language) {
  return chosen(language, "Clear History", "清空历史");
}

std::string_view L10n::cancel(AppLanguage language) { return chosen(language, "Cancel", "取消"); }

std::string_view L10n::cannotBeUndone(AppLanguage language) {
  return chosen(language, "This cannot be undone.", "此操作无法撤销。");
}

std::string_view L10n::firstModifier(AppLanguage language) {
  return chosen(language, "First modifier key", "第一个修饰键");
}

std::string_view L10n::secondModifier(AppLanguage language) {
  return chosen(language, "Second modifier key", "第二个修饰键");
}

std::string_view L10n::hotKeyKey(AppLanguage language) { return chosen(language, "Key", "按键"); }

std::string_view L10n::directPasteModifiers(AppLanguage language) {
  return chosen(language, "Modifier keys for direct paste", "直接粘贴的修饰键");
}

std::string_view L10n::searchField(AppLanguage language) {
  return chosen(language, "Search history", "搜索历史记录");
}

std::string_view L10n::clearSearch(AppLanguage language) {
  return chosen(language, "Clear search", "清除搜索内容");
}

std::string_view L10n::historyList(AppLanguage language) {
  return chosen(language, "Clipboard history", "剪贴板历史记录");
}

std::string L10n::historyRow(AppLanguage language, std::string_view preview, std::string_view time,
                             std::string_view shortcut) {
  if (language == AppLanguage::simplifiedChinese)
    return fmt::format("{}，{}{}{}", preview, time, shortcut.empty() ? "" : "，快捷键 ", shortcut);
  return fmt::format("{}, {}{}{}", preview, time, shortcut.empty() ? "" : ", shortcut ", shortcut);
}

}  // namespace stowboard
