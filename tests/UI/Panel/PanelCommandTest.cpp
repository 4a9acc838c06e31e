#include "UI/Panel/PanelCommand.h"

#include <gmock/gmock.h>

#include <QKeyEvent>

namespace stowboard {
namespace {

using Action = PanelCommand::Action;

struct Row {
  int key;
  Qt::KeyboardModifiers modifiers;
  quint32 scanCode;
  std::optional<Action> action;
  int digit = 0;
};

TEST(PanelCommandTest, TellsCommandsFromEditing) {
  const Qt::KeyboardModifiers none, control = Qt::ControlModifier, super = Qt::MetaModifier,
                                    keypad = Qt::KeypadModifier, shift = Qt::ShiftModifier;
  const Row rows[] = {
      {Qt::Key_Up, none, 111, Action::selectPrevious},
      {Qt::Key_Down, keypad, 88, Action::selectNext},
      {Qt::Key_Down, shift, 116, {}},
      {Qt::Key_PageDown, none, 117, Action::selectPageDown},
      {Qt::Key_Return, none, 36, Action::activateSelected},
      {Qt::Key_Enter, keypad, 104, Action::activateSelected},
      {Qt::Key_Return, shift, 36, Action::activateSelectedAsPlainText},
      {Qt::Key_Enter, shift | keypad, 104, Action::activateSelectedAsPlainText},
      {Qt::Key_Delete, shift, 119, Action::removeSelected},
      {Qt::Key_Delete, shift | keypad, 91, {}},
      {Qt::Key_Delete, none, 119, {}},
      {Qt::Key_Escape, none, 9, Action::close},
      {Qt::Key_Left, none, 113, {}},
      {Qt::Key_Comma, control, 59, Action::openSettings},
      {Qt::Key_Comma, none, 59, {}},
      {Qt::Key_1, control, 10, Action::activateDigit, 1},
      {Qt::Key_9, super, 18, Action::activateDigit, 9},
      {Qt::Key_4, control | keypad, 83, Action::activateDigit, 4},
      {Qt::Key_3, none, 12, {}},
      {Qt::Key_3, control | super, 12, {}},
      {Qt::Key_0, control, 19, {}},
      // French: the digit row gives & é " ' ( - è _ ç.
      {Qt::Key_Ampersand, control, 10, Action::activateDigit, 1},
      {Qt::Key_Ccedilla, control, 18, Action::activateDigit, 9},
      {Qt::Key_Agrave, control, 19, {}},
      {Qt::Key_Ampersand, none, 10, {}},
      // A layout that moves the digits about: the digit counts, not its place.
      {Qt::Key_7, control, 10, Action::activateDigit, 7},
      {Qt::Key_0, control, 14, {}},
      {Qt::Key_A, control, 38, {}},
  };
  for (const Row& row : rows) {
    const QKeyEvent event(QEvent::KeyPress, row.key, row.modifiers, row.scanCode, 0, 0);
    const auto command = PanelCommand::of(event);
    SCOPED_TRACE(std::to_string(row.key) + " at " + std::to_string(row.scanCode));
    ASSERT_EQ(command.has_value(), row.action.has_value());
    if (!command) continue;
    EXPECT_EQ(command->action, *row.action);
    EXPECT_EQ(command->digit, row.digit);
  }
}

}  // namespace
}  // namespace stowboard
