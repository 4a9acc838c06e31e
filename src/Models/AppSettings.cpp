#include "Models/AppSettings.h"

#include <algorithm>
#include <utility>

namespace stowboard {

const AppSettings AppSettings::defaults;

std::string_view rawValue(PasteMode mode) {
  return mode == PasteMode::directPaste ? "directPaste" : "copyOnly";
}

std::optional<PasteMode> pasteModeFromRawValue(std::string_view raw) {
  for (PasteMode mode : {PasteMode::directPaste, PasteMode::copyOnly}) {
    if (raw == rawValue(mode)) return mode;
  }
  return std::nullopt;
}

AppSettings::AppSettings(std::int64_t records, PasteMode mode, HotKeyConfig key,
                         std::set<std::string> excluded, AppLanguage tongue,
                         std::uint32_t pasteModifiers)
    : maxRecords(clampMaxRecords(records)),
      pasteMode(mode),
      hotKey(key),
      excludedBundleIds(std::move(excluded)),
      language(tongue),
      directPasteModifiers(pasteModifiers) {}

std::int64_t AppSettings::clampMaxRecords(std::int64_t count) {
  return std::clamp<std::int64_t>(count, 1, 1000);
}

}  // namespace stowboard
