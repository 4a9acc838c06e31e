#include "Models/AppLanguage.h"

namespace stowboard {

std::string_view id(AppLanguage language) {
  return language == AppLanguage::english ? "en" : "zh-Hans";
}

std::optional<AppLanguage> appLanguageFromId(std::string_view tag) {
  for (AppLanguage language : allAppLanguages) {
    if (tag == id(language)) return language;
  }
  return std::nullopt;
}

std::string_view displayName(AppLanguage language) {
  return language == AppLanguage::english ? "English" : "简体中文";
}

}  // namespace stowboard
