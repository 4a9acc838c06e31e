#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "Models/AppLanguage.h"
#include "Models/HotKeyConfig.h"

namespace stowboard {

/// What choosing a clip does.
enum class PasteMode {
  directPaste,  ///< Writes it to the clipboard and pastes it into the application in front.
  copyOnly,     ///< Writes it to the clipboard.
};

std::string_view rawValue(PasteMode mode);
std::optional<PasteMode> pasteModeFromRawValue(std::string_view raw);

/// The user's settings. A value; replaced as a whole record.
struct AppSettings {
  /// The defaults.
  AppSettings() = default;
  /// Bounds `maxRecords` into 1 to 1000; the rest is stored unchanged.
  AppSettings(std::int64_t maxRecords, PasteMode pasteMode, HotKeyConfig hotKey,
              std::set<std::string> excludedBundleIds, AppLanguage language,
              std::uint32_t directPasteModifiers);

  /// Most clips that the history keeps, 1 to 1000.
  std::int64_t maxRecords = 10;
  PasteMode pasteMode = PasteMode::directPaste;
  /// Opens the history panel, from anywhere.
  HotKeyConfig hotKey = HotKeyConfig::defaultConfig;
  /// Application ids whose copies are not recorded.
  std::set<std::string> excludedBundleIds;
  AppLanguage language = AppLanguage::english;
  /// Modifier mask that, with a digit 1 to 9, pastes the clip at that place.
  std::uint32_t directPasteModifiers = ModifierMask::command | ModifierMask::option;

  /// What a first start uses, and what stands in for an unreadable settings file.
  static const AppSettings defaults;

  friend bool operator==(const AppSettings&, const AppSettings&) = default;

 private:
  static std::int64_t clampMaxRecords(std::int64_t count);
};

}  // namespace stowboard
