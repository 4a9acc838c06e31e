#include "App/HelpDocument.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <fstream>
#include <iterator>
#include <optional>

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
  HelpDocumentTest() { document_.emplace(fake_.runLoop(), fake_.workspace(), fake_.folder()); }

  /// Waits for the writes, then runs what they posted.
  const std::vector<fs::path>& openedAtTheEnd() {
    document_.reset();
    fake_.runLoop().runUntilIdle();
    return fake_.workspace().openedFiles;
  }
  std::string content(const fs::path& file) const {
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
  }

  FakePlatform fake_;
  LogCapture log_;
  std::optional<HelpDocument> document_;
  AppSettings settings_;
};

TEST_F(HelpDocumentTest, WritesEachGuideAfreshAndOpensThemInOrder) {
  const fs::path english = fake_.folder() / "Stowboard_Help.txt";
  const fs::path foreign = fake_.folder() / "precious";
  std::ofstream(foreign) << "kept";
  fs::create_symlink(foreign, english);
  document_->open(settings_);
  settings_.hotKey = {40, ModifierMask::control};
  document_->open(settings_);
  const std::string last = HelpGuide::text(settings_);
  settings_.language = AppLanguage::simplifiedChinese;
  document_->open(settings_);
  EXPECT_TRUE(fake_.workspace().openedFiles.empty());
  const fs::path chinese = fake_.folder() / "Stowboard_使用指南.txt";
  EXPECT_THAT(openedAtTheEnd(), ElementsAre(english, english, chinese));
  EXPECT_EQ(content(english), last);
  EXPECT_EQ(content(foreign), "kept");
  EXPECT_EQ(content(chinese), HelpGuide::text(settings_));
  struct stat status {};
  ASSERT_EQ(::lstat(english.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode, S_IFREG | 0600U);
}

TEST_F(HelpDocumentTest, OpensNothingThatItCouldNotWrite) {
  fs::create_directories(fake_.folder() / "Stowboard_Help.txt" / "in the way");
  document_->open(settings_);
  EXPECT_THAT(openedAtTheEnd(), IsEmpty());
  EXPECT_THAT(log_.errors(),
              ElementsAre(StartsWith("error ui: Failed to write help file: Is a directory (")));
}

TEST_F(HelpDocumentTest, TakesTheUsersTemporaryFolder) {
  FakeBundle bundle("/");
  EXPECT_EQ(HelpDocument::temporaryFolder(bundle), "/tmp");
  bundle.variables["TMPDIR"] = "relative";
  EXPECT_EQ(HelpDocument::temporaryFolder(bundle), "/tmp");
  bundle.variables["TMPDIR"] = "/run/user/1000/tmp";
  EXPECT_EQ(HelpDocument::temporaryFolder(bundle), "/run/user/1000/tmp");
}

}  // namespace
}  // namespace stowboard
