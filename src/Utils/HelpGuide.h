#pragma once

#include <string>
#include <string_view>

#include "Models/AppSettings.h"

namespace stowboard {

/// The user guide: plain text, UTF-8, in the language of the interface and with the user's own
/// shortcuts in it. Safe to use from any thread.
class HelpGuide {
 public:
  HelpGuide() = delete;

  /// Lines end with a line feed, the last one with nothing.
  static std::string text(const AppSettings& settings);
  static std::string_view fileName(AppLanguage language);
};

}  // namespace stowboard
