#include "MenuBar/MenuBarController.h"

#include <gmock/gmock.h>

#include <QPixmap>
#include <optional>

#include "MenuBar/MenuBarIcon.h"
#include "fakes/FakeStatusItem.h"

namespace stowboard {
namespace {

using ::testing::ElementsAre;

class MenuBarControllerTest : public ::testing::Test {
 protected:
  MenuBarControllerTest() { controller_->setupStatusItem(); }

  // A line an entry; one that cannot be chosen in parentheses.
  std::vector<std::string> lines() const {
    std::vector<std::string> lines;
    for (const auto& entry : item_.content.menu()) {
      if (entry.isSeparator()) {
        lines.emplace_back("-");
      } else {
        lines.push_back(entry.action ? entry.title + " " + entry.keyEquivalent
                                     : "(" + entry.title + ")");
      }
    }
    return lines;
  }

  FakeStatusItem item_;
  std::optional<MenuBarController> controller_{std::in_place, item_};
};

TEST_F(MenuBarControllerTest, MakesTheMenuOfTheMoment) {
  auto language = AppLanguage::simplifiedChinese;
  controller_->languageProvider = [&] { return language; };
  controller_->versionProvider = [] { return "v20250303"; };
  EXPECT_THAT(lines(),
              ElementsAre("帮助 ?", "设置 ,", "-", "(版本: v20250303)", "退出 Stowboard Q"));
  language = AppLanguage::english;
  controller_->languageDidChange();
  EXPECT_EQ(item_.menuChanges, 1);
  EXPECT_THAT(lines(),
              ElementsAre("Help ?", "Settings ,", "-", "(Version: v20250303)", "Quit Stowboard Q"));
}

TEST_F(MenuBarControllerTest, CallsWhatIsSet) {
  std::string called;
  QRect place;
  const auto use = [this] {
    for (const char* title : {"Help", "Settings", "Quit Stowboard"}) item_.choose(title);
    item_.content.onActivate({1, 2, 3, 4});
  };
  use();
  controller_->onOpenHelp = [&] { called += "help "; };
  controller_->onOpenSettings = [&] { called += "settings "; };
  controller_->onQuit = [&] { called += "quit "; };
  controller_->onShowHistory = [&](const QRect& button) { place = button; };
  use();
  EXPECT_EQ(called, "help settings quit ");
  EXPECT_EQ(place, QRect(1, 2, 3, 4));
  controller_.reset();
  EXPECT_FALSE(item_.isShown());
}

// A blurred or missing drawing has half-transparent pixels, or none, where this one has its board.
TEST_F(MenuBarControllerTest, DrawsTheIconForTheSizeThatIsAskedFor) {
  for (const int size : {16, 22, 24, 32, 48, 64, 128}) {
    const auto picture = item_.content.icon(size);
    ASSERT_EQ(QSize(picture.width, picture.height), QSize(size, size));
    EXPECT_EQ(picture.pixels.at(size * (size * 7 / 8) + size / 2) >> 24, 255U) << size;
    EXPECT_EQ(picture.pixels.at(0) >> 24, 0U) << size;
    EXPECT_EQ(applicationIcon().pixmap(QSize(size, size), 1).size(), QSize(size, size));
  }
}

}  // namespace
}  // namespace stowboard
