#include "Base/Files/AtomicFile.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>

namespace stowboard {
namespace {

namespace fs = std::filesystem;

class AtomicFileTest : public testing::Test {
 protected:
  AtomicFileTest() {
    std::string name = fs::temp_directory_path() / "AtomicFileTest.XXXXXX";
    folder_ = ::mkdtemp(name.data());
    target_ = folder_ / "list.json";
    std::ofstream(target_) << "old";
  }
  ~AtomicFileTest() override { fs::remove_all(folder_); }

  std::string content() const {
    std::ifstream file(target_);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  std::ptrdiff_t fileCount() const {
    return std::distance(fs::directory_iterator(folder_), fs::directory_iterator());
  }

  fs::path folder_;
  fs::path target_;
};

TEST_F(AtomicFileTest, theTargetChangesAtTheReplacementAndNotBefore) {
  AtomicFile file(target_);
  EXPECT_TRUE(file.write("ne"));
  EXPECT_TRUE(file.write("w"));
  EXPECT_TRUE(file.sync());
  EXPECT_EQ(content(), "old");
  EXPECT_TRUE(file.replaceTarget());
  EXPECT_EQ(content(), "new");
  EXPECT_EQ(fileCount(), 1);
}

TEST_F(AtomicFileTest, anAbandonedFileLeavesNoTrace) {
  {
    AtomicFile(target_).write("new");
  }
  EXPECT_EQ(content(), "old");
  EXPECT_EQ(fileCount(), 1);
}

TEST_F(AtomicFileTest, aFileThatIsBeingWrittenIsNoLeftover) {
  std::ofstream(folder_ / ".list.json.123456.tmp") << "left by a crash";
  AtomicFile file(target_);
  file.write("new");
  AtomicFile::removeLeftovers(target_);
  EXPECT_EQ(fileCount(), 2);
  EXPECT_TRUE(file.replaceTarget()) << file.error().description;
  EXPECT_EQ(content(), "new");
}

TEST_F(AtomicFileTest, theFirstFailureIsTheOneThatIsReported) {
  AtomicFile file(folder_ / "missing" / "list.json");
  EXPECT_FALSE(file.write("new"));
  EXPECT_FALSE(file.sync());
  EXPECT_FALSE(file.replaceTarget());
  EXPECT_TRUE(file.error().description.starts_with("No such file or directory (creating a file"))
      << file.error().description;
}

}  // namespace
}  // namespace stowboard
