#include "App/HelpDocument.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <fstream>
#include <iterator>

#include "Utils/HelpGuide.h"
#include "fakes/FakePlatform.h"
#include "fakes/LogCapture.h"

namespace stowboard {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

class HelpDocumentTest : public ::testing::Test {
 protected:
  HelpDocumentTest() : bundle_(fake_.folder()) { bundle_.variables["TMPDIR"] = fake_.folder(); }

  void open() { HelpDocument::open(settings_, bundle_, opener_); }
  std::string content(const fs::path& file) const {
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
  }

  FakePlatform fake_;
  FakeBundle bundle_;
  FakeFileOpener opener_;
  LogCapture log_;
  AppSettings settings_;
};

TEST_F(HelpDocumentTest, WritesEachGuideAfreshAndOpensIt) {
  const fs::path english = fake_.folder() / "Stowboard_Help.txt";
  const fs::path foreign = fake_.folder() / "precious";
  std::ofstream(foreign) << "kept";
  fs::create_symlink(foreign, english);
  open();
  settings_.hotKey = {40, ModifierMask::control};
  open();
  EXPECT_EQ(content(english), HelpGuide::text(settings_));
  settings_.language = AppLanguage::simplifiedChinese;
  open();
  const fs::path chinese = fake_.folder() / "Stowboard_使用指南.txt";
  EXPECT_THAT(opener_.opened, ElementsAre(english, english, chinese));
  EXPECT_EQ(content(foreign), "kept");
  EXPECT_EQ(content(chinese), HelpGuide::text(settings_));
  struct stat status {};
  ASSERT_EQ(::lstat(english.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode, S_IFREG | 0600U);
}

TEST_F(HelpDocumentTest, OpensNothingThatItCouldNotWrite) {
  fs::create_directories(fake_.folder() / "Stowboard_Help.txt" / "in the way");
  open();
  EXPECT_THAT(opener_.opened, IsEmpty());
  EXPECT_THAT(log_.errors(),
              ElementsAre(StartsWith("error ui: Failed to write help file: Is a directory (")));
}

TEST_F(HelpDocumentTest, TakesTmpWhereTheUserNamesNoFolder) {
  bundle_.variables["TMPDIR"] = "relative";
  open();
  EXPECT_THAT(opener_.opened, ElementsAre("/tmp/Stowboard_Help.txt"));
  fs::remove(opener_.opened.at(0));
}

}  // namespace
}  // namespace stowboard
