#include "Utils/HelpGuide.h"

#include <fmt/format.h>

namespace stowboard {

namespace {

constexpr std::string_view englishText =
    R"({doubleRule}
                          Stowboard User Guide & Shortcuts
{doubleRule}

Stowboard is a lightweight, efficient macOS native clipboard history tool.

{rule}
1. Keyboard Shortcuts (Core)
{rule}

1. [Global Direct Paste] (Paste without opening the history panel)
{directPaste}

2. [Global History Panel Hotkey]
   • {hotKey}  : Show/hide clipboard history panel at cursor (customizable)

3. [Inside History Panel]
   • ⌘ Command + 1 ~ 9  : Quickly activate and paste the top 9 matching clips
   • ↑ / ↓              : Navigate through history items
   • Enter              : Paste selected clip
   • Esc                : Close history panel
   • ⌘ Command + ,      : Open Settings window

{rule}
2. General Tips
{rule}

• Formats: Automatically records plain text, rich text (RTF), and copied images.
• Search: Type directly in the panel to filter history in real-time.
• Menu Bar:
  - Left click: Show/hide history panel.
  - Right click: Access menu (Help, Settings, Quit).

{doubleRule})";

constexpr std::string_view chineseText =
    R"({doubleRule}
                           Stowboard 使用指南与快捷键
{doubleRule}

Stowboard 是一款轻量、高效的 macOS 原生剪贴板历史记录工具。

{rule}
一、快捷键说明（核心）
{rule}

1. 【全局免唤起直接粘贴】（无需打开面板，直接粘贴对应序号）
{directPaste}

2. 【全局呼出历史面板】
   • {hotKey}  : 在鼠标当前位置弹出剪贴板历史面板（可在设置中修改）

3. 【历史面板内操作】
   • ⌘ Command + 1 ~ 9  : 激活并粘贴当前搜索结果列表的前 9 条
   • ↑ / ↓              : 上下移动选中的历史记录
   • Enter / 回车       : 粘贴当前选中的历史记录
   • Esc                : 关闭历史面板
   • ⌘ Command + ,      : 打开设置窗口

{rule}
二、常见使用提示
{rule}

• 支持格式：自动记录普通文本、富文本（RTF）以及截图/复制的图片。
• 搜索过滤：唤起面板后直接输入关键词，即可即时过滤搜索历史记录。
• 状态栏操作：
  - 左键点击状态栏图标：打开/关闭历史面板；
  - 右键点击状态栏图标：呼出功能菜单（帮助、偏好设置、退出应用）。

{doubleRule})";

struct Guide {
  std::string_view fileName;
  std::string_view text;
  std::string_view directPasteRow;
};

constexpr Guide english{"Stowboard_Help.txt", englishText,
                        "   • {modifiers} + {digit}  : Directly paste clip #{digit}"};
constexpr Guide chinese{"Stowboard_使用指南.txt", chineseText,
                        "   • {modifiers} + {digit}  : 直接粘贴第 {digit} 条历史记录"};

const Guide& guide(AppLanguage language) {
  return language == AppLanguage::simplifiedChinese ? chinese : english;
}

std::string directPasteRows(const Guide& guide, std::uint32_t mask) {
  const auto modifiers = modifierDisplayString(directPasteModifierPairFrom(mask));
  std::string rows;
  for (int digit = 1; digit <= 9; ++digit) {
    if (digit > 1) rows += '\n';
    rows += fmt::format(fmt::runtime(guide.directPasteRow), fmt::arg("modifiers", modifiers),
                        fmt::arg("digit", digit));
  }
  return rows;
}

}  // namespace

std::string HelpGuide::text(const AppSettings& settings) {
  constexpr std::size_t width = 80;
  const Guide& chosen = guide(settings.language);
  return fmt::format(
      fmt::runtime(chosen.text), fmt::arg("doubleRule", std::string(width, '=')),
      fmt::arg("rule", std::string(width, '-')),
      fmt::arg("directPaste", directPasteRows(chosen, settings.directPasteModifiers)),
      fmt::arg("hotKey", settings.hotKey.fullDisplayString()));
}

std::string_view HelpGuide::fileName(AppLanguage language) { return guide(language).fileName; }

}  // namespace stowboard
