#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace stowboard {

/// A key combination of sway's configuration.
struct SwayCombination {
  /// Sway's modifiers, in upper case, sorted; lock keys are none.
  std::vector<std::string> modifiers;
  /// XKB's number of the key, or the name of its symbol in lower case.
  std::string key;

  friend bool operator==(const SwayCombination&, const SwayCombination&) = default;
};

/// The key bindings of the default mode that a configuration of sway makes (sway(5), bindsym and
/// bindcode). `include` gives the texts of the files that a pattern names. What does not read as a
/// binding is passed over: sway itself tells the user.
std::vector<SwayCombination> swayBindings(
    std::string_view configuration,
    const std::function<std::vector<std::string>(const std::string& pattern)>& include);

/// Reads "Mod4+Shift+v"; absent when nothing is left for a key.
std::optional<SwayCombination> swayCombination(std::string_view text);

}  // namespace stowboard
