#include "Platform/Desktop/XdgFileOpener.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <fstream>

#include "Platform/Desktop/TemporaryFolder.h"
#include "Platform/QtTurns.h"
#include "contract/FileOpenerContract.h"
#include "fakes/LogCapture.h"

namespace stowboard {
namespace {

using ::testing::ElementsAre;
using ::testing::StartsWith;

/// A desktop whose xdg-open notes what it is given.
class Desktop {
 public:
  Desktop() : path_(std::getenv("PATH")) {
    folder_.write("xdg-open", "#!/bin/sh\nprintf '%s\\n' \"$*\" >> \"${0%/*}/opened\"\n");
    std::filesystem::permissions(folder_.path() / "xdg-open", std::filesystem::perms::owner_all);
    setenv("PATH", (folder_.path().string() + ":" + path_).c_str(), 1);
  }
  ~Desktop() { setenv("PATH", path_.c_str(), 1); }

  FileOpener& opener() { return opener_; }
  std::vector<std::string> opened() const {
    std::vector<std::string> lines;
    std::ifstream stream(folder_.path() / "opened");
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
  }
  bool turnUntil(const std::function<bool()>& condition) { return turnQtUntil(condition); }

 private:
  const QtApplication application_;
  const std::string path_;
  const TemporaryFolder folder_;
  XdgFileOpener opener_;
};

INSTANTIATE_TYPED_TEST_SUITE_P(Xdg, FileOpenerContract, Desktop);

TEST(XdgFileOpenerTest, SaysWhereTheDesktopHasNoneForIt) {
  const Desktop desktop;
  const LogCapture log;
  setenv("PATH", "/nonexistent", 1);
  XdgFileOpener().open("/tmp/guide.txt");
  EXPECT_THAT(log.infos("app"),
              ElementsAre(StartsWith("info app: /tmp/guide.txt cannot be opened: ")));
}

}  // namespace
}  // namespace stowboard
