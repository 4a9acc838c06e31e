#include "Utils/L10n.h"

#include <fmt/format.h>

namespace stowboard {

std::string L10n::menuVersion(AppLanguage language, std::string_view version) {
  constexpr LocalizedText label{"Version", "版本"};
  return fmt::format("{}: {}", label(language), version);
}

std::string L10n::noResults(AppLanguage language, std::string_view query) {
  constexpr LocalizedText pattern{"No results for \"{}\"", "未找到与 \"{}\" 相关的记录"};
  return fmt::format(fmt::runtime(pattern(language)), query);
}

std::string L10n::historyRow(AppLanguage language, std::string_view preview, std::string_view time,
                             std::string_view shortcut) {
  constexpr LocalizedText comma{", ", "，"};
  constexpr LocalizedText label{", shortcut ", "，快捷键 "};
  return fmt::format("{}{}{}{}{}", preview, comma(language), time,
                     shortcut.empty() ? "" : label(language), shortcut);
}

}  // namespace stowboard
