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
  struct stat status{};
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

TEST_F(HelpDocumentTest, TakesAPrivateFolderWhereTheUserNamesNone) {
  bundle_.variables["TMPDIR"] = "relative";
  const fs::path data = fake_.folder() / "Stowboard";
  fs::create_directory(data);
  fs::permissions(data, fs::perms::all);
  std::vector<fs::path> expected{data};
  open();
  for (const char* variable : {"XDG_CACHE_HOME", "XDG_RUNTIME_DIR"}) {
    bundle_.variables[variable] = fake_.folder() / variable;
    expected.push_back(fake_.folder() / variable / "Stowboard");
    open();
  }
  ASSERT_EQ(opener_.opened.size(), expected.size());
  for (std::size_t at = 0; at < expected.size(); ++at) {
    EXPECT_EQ(opener_.opened[at], expected[at] / "Stowboard_Help.txt");
    EXPECT_EQ(fs::status(expected[at]).permissions(), fs::perms::owner_all);
  }
}

}  // namespace
}  // namespace stowboard
