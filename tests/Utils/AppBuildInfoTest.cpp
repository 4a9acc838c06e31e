#include "Utils/AppBuildInfo.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <time.h>

#include <fstream>

#include "fakes/FakeBundle.h"

namespace stowboard {
namespace {

namespace fs = std::filesystem;

class VersionedBundle final : public FakeBundle {
 public:
  VersionedBundle(std::string version, fs::path executable)
      : FakeBundle("/"), version_(std::move(version)), executable_(std::move(executable)) {}
  std::string version() const override { return version_; }
  fs::path executable() const override { return executable_; }

 private:
  const std::string version_;
  const fs::path executable_;
};

std::string today() {
  const std::time_t now = ::time(nullptr);
  std::tm local{};
  ::localtime_r(&now, &local);
  char text[16];
  std::strftime(text, sizeof text, "v%Y%m%d", &local);
  return text;
}

class AppBuildInfoTest : public ::testing::Test {
 protected:
  AppBuildInfoTest() {
    std::string name = fs::temp_directory_path() / "AppBuildInfoTest.XXXXXX";
    executable_ = ::mkdtemp(name.data());
    executable_ /= "program";
    std::ofstream(executable_) << "x";
    const timespec modified{1741019400, 0};  // 2025-03-03 16:30 UTC
    const timespec times[]{modified, modified};
    ::utimensat(AT_FDCWD, executable_.c_str(), times, 0);
  }
  ~AppBuildInfoTest() override {
    fs::remove_all(executable_.parent_path());
    setZone("UTC");
  }

  static void setZone(const char* zone) {
    ::setenv("TZ", zone, 1);
    ::tzset();
  }
  static std::string version(const std::string& ofBundle, const fs::path& executable) {
    return AppBuildInfo::buildVersionString(VersionedBundle(ofBundle, executable));
  }

  fs::path executable_;
};

TEST_F(AppBuildInfoTest, PrefersADateStampOfTheBundleThenTheExecutablesDayThenToday) {
  EXPECT_EQ(version("v20240229-rc1", executable_), "v20240229-rc1");
  for (const char* other : {"1.2.0", "", "v1.0", "v2", "20250101", "V20250101"}) {
    setZone("UTC");
    EXPECT_EQ(version(other, executable_), "v20250303") << other;
    setZone("Asia/Shanghai");
    EXPECT_EQ(version(other, executable_), "v20250304") << other;
  }
  for (const fs::path& unknown : {fs::path(), executable_ / "none"}) {
    const std::string before = today();
    const std::string shown = version("1.2.0", unknown);
    EXPECT_TRUE(shown == before || shown == today()) << shown;
  }
}

}  // namespace
}  // namespace stowboard
