#include "Platform/PasteChord.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace stowboard {

namespace {

// In small letters, to which some compositors change the names of classes.
constexpr std::array xtermClasses = std::to_array<std::string_view>(
    {"xterm", "uxterm", "koi8rxterm", "urxvt", "rxvt", "eterm", "aterm", "mlterm", "kterm"});
// Editors for which Control with V is a command of another kind. They take Shift+Insert; which of
// the two selections that pastes depends on the user's own settings.
constexpr std::array editorClasses = std::to_array<std::string_view>({"emacs", "gvim"});
// Terminals that come without a desktop entry.
constexpr std::array terminalClasses =
    std::to_array<std::string_view>({"st", "st-256color", "stterm-256color"});

template <typename Names>
bool contains(const Names& names, std::string_view name) {
  const auto isSame = [](unsigned char own, unsigned char given) {
    return own == std::tolower(given);
  };
  return std::ranges::any_of(
      names, [&](std::string_view each) { return std::ranges::equal(each, name, isSame); });
}

}  // namespace

PasteChord pasteChord(std::string_view windowClass, bool isTerminal, bool hasKeyForV) {
  if (!hasKeyForV || contains(xtermClasses, windowClass) || contains(editorClasses, windowClass)) {
    return PasteChord::shiftInsert;
  }
  if (isTerminal || contains(terminalClasses, windowClass)) return PasteChord::controlShiftV;
  return PasteChord::controlV;
}

}  // namespace stowboard
