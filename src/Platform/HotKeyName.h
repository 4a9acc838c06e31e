#pragma once

#include <fmt/format.h>

#include <string>

#include "Platform/HotKeyCenter.h"

namespace stowboard {

/// What a hot key does, for services that show it to the user and remember what was chosen.
struct HotKeyName {
  /// Lasting, as "paste-1".
  std::string name;
  /// In English, as such services know no others.
  std::string words;
};

/// The hot key with the number 1 shows the history; those whose numbers end in 1 to 9 beyond a
/// hundred paste the clip at that place.
inline HotKeyName nameOf(const HotKeyIdentity& identity) {
  if (identity.id < 100) return {"show-history", "Show Clipboard History"};
  const auto digit = identity.id % 100;
  return {fmt::format("paste-{}", digit), fmt::format("Paste Clip {}", digit)};
}

}  // namespace stowboard
