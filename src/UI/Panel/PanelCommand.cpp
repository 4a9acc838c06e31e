#include "UI/Panel/PanelCommand.h"

#include <QKeyEvent>
#include <utility>

namespace stowboard {

namespace {

// Scan codes on Linux are X key codes, also under Wayland: the kernel's, plus 8.
constexpr quint32 scanCodeOfOne = 10;
constexpr quint32 scanCodeOfNine = 18;

Qt::KeyboardModifiers modifiersOf(const QKeyEvent& event) {
  return event.modifiers() & ~(Qt::KeypadModifier | Qt::GroupSwitchModifier);
}

bool isDigitRowKey(const QKeyEvent& event) {
  return !event.modifiers().testFlag(Qt::KeypadModifier) &&
         event.nativeScanCode() >= scanCodeOfOne && event.nativeScanCode() <= scanCodeOfNine;
}

std::optional<PanelCommand> commandKey(const QKeyEvent& event) {
  using Action = PanelCommand::Action;
  const int key = event.key();
  if (key == Qt::Key_Comma) return PanelCommand{Action::openSettings};
  if (key >= Qt::Key_1 && key <= Qt::Key_9)
    return PanelCommand{Action::activateDigit, key - Qt::Key_0};
  if (key == Qt::Key_0 || !isDigitRowKey(event)) return std::nullopt;
  return PanelCommand{Action::activateDigit,
                      static_cast<int>(event.nativeScanCode() - scanCodeOfOne + 1)};
}

// The keypad's Delete types a decimal point where Num Lock is on.
std::optional<PanelCommand> shiftKey(const QKeyEvent& event) {
  using Action = PanelCommand::Action;
  const int key = event.key();
  if (key == Qt::Key_Return || key == Qt::Key_Enter)
    return PanelCommand{Action::activateSelectedAsPlainText};
  const bool isOnKeypad = event.modifiers().testFlag(Qt::KeypadModifier);
  if (key == Qt::Key_Delete && !isOnKeypad) return PanelCommand{Action::removeSelected};
  return std::nullopt;
}

std::optional<PanelCommand> plainKey(const QKeyEvent& event) {
  using Action = PanelCommand::Action;
  static constexpr std::pair<int, Action> actions[] = {{Qt::Key_Up, Action::selectPrevious},
                                                       {Qt::Key_Down, Action::selectNext},
                                                       {Qt::Key_PageUp, Action::selectPageUp},
                                                       {Qt::Key_PageDown, Action::selectPageDown},
                                                       {Qt::Key_Return, Action::activateSelected},
                                                       {Qt::Key_Enter, Action::activateSelected},
                                                       {Qt::Key_Escape, Action::close}};
  for (const auto& [key, action] : actions)
    if (event.key() == key) return PanelCommand{action};
  return std::nullopt;
}

}  // namespace

std::optional<PanelCommand> PanelCommand::of(const QKeyEvent& event) {
  const Qt::KeyboardModifiers modifiers = modifiersOf(event);
  if (modifiers == Qt::ControlModifier || modifiers == Qt::MetaModifier) return commandKey(event);
  if (modifiers == Qt::ShiftModifier) return shiftKey(event);
  return modifiers == Qt::NoModifier ? plainKey(event) : std::nullopt;
}

}  // namespace stowboard
