#include "Platform/PasteChord.h"

#include <algorithm>
#include <array>

namespace stowboard {

namespace {

constexpr std::array xtermClasses =
    std::to_array<std::string_view>({"XTerm", "UXTerm", "KOI8RXTerm", "URxvt", "Rxvt", "RXVT",
                                     "Eterm", "Aterm", "ATerm", "MLTerm", "mlterm", "KTerm"});
// Editors for which Control with V is a command of another kind. They take Shift+Insert; which of
// the two selections that pastes depends on the user's own settings.
constexpr std::array editorClasses =
    std::to_array<std::string_view>({"Emacs", "emacs", "Gvim", "gvim"});
// Terminals that come without a desktop entry.
constexpr std::array terminalClasses =
    std::to_array<std::string_view>({"St", "st", "st-256color", "stterm-256color"});

template <typename Names>
bool contains(const Names& names, std::string_view name) {
  return std::ranges::find(names, name) != names.end();
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
