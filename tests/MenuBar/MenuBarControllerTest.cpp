#include "MenuBar/MenuBarController.h"

#include <gmock/gmock.h>

#include <QPixmap>
#include <set>

#include "MenuBar/MenuBarIcon.h"

namespace stowboard {
namespace {

using ::testing::ElementsAre;

// What a menu shows, a line an entry; a choice that does nothing in parentheses.
std::vector<std::string> lines(const QMenu& menu) {
  std::vector<std::string> lines;
  for (const QAction* action : menu.actions()) {
    if (action->isSeparator()) {
      lines.emplace_back("-");
      continue;
    }
    const std::string title = action->text().toStdString();
    const std::string key = action->shortcut().toString().toStdString();
    lines.push_back(action->isEnabled() ? title + " " + key : "(" + title + ")");
  }
  return lines;
}

TEST(MenuBarControllerTest, MakesTheMenuOfTheMoment) {
  MenuBarController controller;
  QMenu menu;
  fill(menu, controller.menu());
  for (QAction* action : menu.actions()) action->trigger();
  auto language = AppLanguage::simplifiedChinese;
  std::string chosen;
  controller.languageProvider = [&] { return language; };
  controller.versionProvider = [] { return "v2025&0303"; };
  controller.onOpenHelp = [&] { chosen += "help "; };
  controller.onOpenSettings = [&] { chosen += "settings "; };
  controller.onQuit = [&] { chosen += "quit "; };
  fill(menu, controller.menu());
  EXPECT_THAT(lines(menu), ElementsAre("帮助 Ctrl+?", "设置 Ctrl+,", "-", "(版本: v2025&&0303)",
                                       "退出 Stowboard Ctrl+Q"));
  language = AppLanguage::english;
  fill(menu, controller.menu());
  EXPECT_THAT(lines(menu), ElementsAre("Help Ctrl+?", "Settings Ctrl+,", "-",
                                       "(Version: v2025&&0303)", "Quit Stowboard Ctrl+Q"));
  for (QAction* action : menu.actions()) action->trigger();
  EXPECT_EQ(chosen, "help settings quit ");
}

// A blurred or missing drawing has half-transparent pixels, or none, where this one has its board.
TEST(MenuBarIconTest, IsDrawnForTheSizeThatIsAskedFor) {
  for (const QIcon& icon : {menuBarIcon(), applicationIcon()}) {
    for (const int size : {16, 22, 24, 32, 48, 64, 128}) {
      const QImage image = icon.pixmap(QSize(size, size), 1).toImage();
      ASSERT_EQ(image.size(), QSize(size, size));
      EXPECT_EQ(image.pixelColor(size / 2, size * 7 / 8).alpha(), 255) << size;
      EXPECT_EQ(image.pixelColor(0, 0).alpha(), 0) << size;
    }
  }
}

}  // namespace
}  // namespace stowboard
