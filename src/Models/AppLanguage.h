#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace stowboard {

/// The language of the interface.
enum class AppLanguage { english, simplifiedChinese };

/// Every language, in the order in which a picker lists them.
inline constexpr std::array allAppLanguages{AppLanguage::english, AppLanguage::simplifiedChinese};

/// The language's tag, which is also its form in the settings file: "en" or "zh-Hans".
constexpr std::string_view id(AppLanguage language) {
  return language == AppLanguage::english ? "en" : "zh-Hans";
}
constexpr std::optional<AppLanguage> appLanguageFromId(std::string_view tag) {
  for (const AppLanguage language : allAppLanguages) {
    if (tag == id(language)) return language;
  }
  return std::nullopt;
}

/// The language's own name, the same in every interface language.
constexpr std::string_view displayName(AppLanguage language) {
  return language == AppLanguage::english ? "English" : "简体中文";
}

}  // namespace stowboard
