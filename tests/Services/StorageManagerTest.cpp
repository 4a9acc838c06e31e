#include "Services/StorageManager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <random>
#include <thread>

#include "fakes/Clips.h"
#include "fakes/LogCapture.h"

namespace {

std::atomic<bool> foldersCannotBeSynced = false;
std::atomic<bool> filesCanBeSynced = true;
std::atomic<int> filesSynced = 0;

}  // namespace

// Every file that is written is synced once, and then its folder.
extern "C" int fsync(int descriptor) {
  struct stat status{};
  ::fstat(descriptor, &status);
  if (!S_ISDIR(status.st_mode)) {
    ++filesSynced;
    while (!filesCanBeSynced) std::this_thread::yield();
  } else if (foldersCannotBeSynced) {
    errno = EIO;
    return -1;
  }
  return static_cast<int>(::syscall(SYS_fsync, descriptor));
}

namespace stowboard {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using testing::UnorderedElementsAre;

class StorageManagerTest : public testing::Test {
 protected:
  StorageManagerTest() {
    std::string name = fs::temp_directory_path() / "StorageManagerTest.XXXXXX";
    root_ = ::mkdtemp(name.data());
    folder_ = root_ / "data" / "Stowboard";
  }
  ~StorageManagerTest() override { fs::remove_all(root_); }

  fs::path history() const { return folder_ / "history.json"; }
  fs::path settings() const { return folder_ / "settings.json"; }
  fs::path damaged() const { return folder_ / "history.json.damaged"; }

  static void write(const fs::path& path, std::string_view content) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << content;
  }
  static std::string read(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  static int modeOf(const fs::path& path) {
    struct stat status{};
    return ::stat(path.c_str(), &status) == 0 ? static_cast<int>(status.st_mode & 07777) : -1;
  }
  std::vector<std::string> names() const {
    std::vector<std::string> found;
    for (const auto& entry : fs::directory_iterator(folder_)) {
      found.push_back(entry.path().filename());
    }
    return found;
  }
  static void save(StorageManager& storage, std::vector<ClipItem> clips) {
    storage.saveHistory(std::move(clips));
    storage.flushPendingWrites();
  }
  std::vector<std::string> errors() const { return log_.errors("storage"); }

  fs::path root_;
  fs::path folder_;
  LogCapture log_;
};

TEST_F(StorageManagerTest, firstStartMakesAPrivateFolderAndLogsNothing) {
  const mode_t umask = ::umask(0277);
  StorageManager storage(folder_);
  EXPECT_THAT(storage.loadHistory(), IsEmpty());
  EXPECT_EQ(storage.loadSettings(), AppSettings::defaults);
  EXPECT_THAT(names(), IsEmpty());
  storage.saveSettings(AppSettings::defaults);
  save(storage, {textClip("a")});
  ::umask(umask);
  EXPECT_EQ(modeOf(folder_), 0700);
  EXPECT_EQ(modeOf(root_ / "data"), 0700);
  EXPECT_EQ(modeOf(history()), 0600);
  EXPECT_EQ(modeOf(settings()), 0600);
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(StorageManagerTest, bringsBackWhatWasSavedLast) {
  std::string everyByte;
  for (int byte = 0; byte < 256; ++byte) everyByte += static_cast<char>(byte);
  const std::vector<ClipItem> clips{imageClip(everyByte), textClip("é"), richTextClip("a", "{}")};
  AppSettings changed;
  changed.language = AppLanguage::simplifiedChinese;
  {
    StorageManager storage(folder_);
    storage.saveHistory({textClip("older")});
    storage.saveSettings(AppSettings::defaults);
    storage.saveHistory(clips);
    storage.saveSettings(changed);
    storage.flushPendingWrites();
    EXPECT_THAT(names(), UnorderedElementsAre("history.json", "settings.json"));
  }
  StorageManager storage(folder_);
  EXPECT_EQ(storage.loadHistory(), clips);
  EXPECT_EQ(storage.loadSettings(), changed);
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(StorageManagerTest, destructionFinishesWhatWasSubmitted) {
  const std::vector<ClipItem> clips{textClip(std::string(5'000'000, 'x'))};
  {
    StorageManager(folder_).saveHistory(clips);
  }
  EXPECT_EQ(StorageManager(folder_).loadHistory(), clips);
}

TEST_F(StorageManagerTest, clearingRemovesTheHistoryInItsTurn) {
  StorageManager storage(folder_);
  storage.clearHistory();
  storage.saveHistory({textClip("a")});
  storage.saveHistory({});
  storage.clearHistory();
  storage.flushPendingWrites();
  EXPECT_THAT(names(), IsEmpty());
  EXPECT_THAT(storage.loadHistory(), IsEmpty());
  storage.clearHistory();
  save(storage, {textClip("b")});
  EXPECT_THAT(previews(storage.loadHistory()), ElementsAre("b"));
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(StorageManagerTest, startingMakesPrivateAndRemovesLeftovers) {
  write(history(), "[]");
  write(settings(), "{}");
  write(folder_ / ".history.json.aB3xY9.tmp", "[{\"id\"");
  write(folder_ / ".settings.json.000000.tmp", "");
  write(folder_ / ".history.json.swp", "an editor's");
  fs::permissions(folder_, fs::perms(0755));
  fs::permissions(history(), fs::perms(0644));
  fs::permissions(settings(), fs::perms(0666));
  const StorageManager storage(folder_);
  EXPECT_EQ(modeOf(folder_), 0700);
  EXPECT_EQ(modeOf(history()), 0600);
  EXPECT_EQ(modeOf(settings()), 0600);
  EXPECT_THAT(names(), UnorderedElementsAre("history.json", "settings.json", ".history.json.swp"));
}

TEST_F(StorageManagerTest, undecodableFilesAreLoggedAndLeftUntilTheNextSave) {
  write(history(), "{}");
  write(settings(), R"({"maxRecords":"many","language":"zh-Hans"})");
  StorageManager storage(folder_);
  EXPECT_THAT(storage.loadHistory(), IsEmpty());
  EXPECT_EQ(storage.loadSettings(), AppSettings::defaults);
  EXPECT_THAT(
      errors(),
      ElementsAre("error storage: Failed to decode history.json: the history is not an array",
                  "error storage: Failed to decode settings.json: \"maxRecords\" is not a "
                  "number"));
  EXPECT_THAT(names(), UnorderedElementsAre("history.json", "settings.json"));

  write(damaged(), "an older one");
  save(storage, {textClip("a")});
  save(storage, {textClip("b")});
  EXPECT_EQ(read(damaged()), "{}");
  EXPECT_THAT(names(),
              UnorderedElementsAre("history.json", "history.json.damaged", "settings.json"));
  EXPECT_THAT(previews(storage.loadHistory()), ElementsAre("b"));
}

// The user has asked for everything to go.
TEST_F(StorageManagerTest, clearingRemovesAlsoWhatCouldNotBeRead) {
  write(history(), "[{");
  write(damaged(), "an older one");
  StorageManager storage(folder_);
  storage.loadHistory();
  storage.saveHistory({});
  storage.clearHistory();
  storage.flushPendingWrites();
  EXPECT_THAT(names(), IsEmpty());
  save(storage, {textClip("a")});
  EXPECT_THAT(names(), ElementsAre("history.json"));
}

// The defaults keep ten clips; what the user asked for is not known.
TEST_F(StorageManagerTest, undecodableSettingsCostNoClips) {
  std::vector<ClipItem> clips;
  for (int number = 0; number < 12; ++number) clips.push_back(textClip(std::to_string(number)));
  save(*std::make_unique<StorageManager>(folder_), clips);
  const std::string whole = read(history());
  write(settings(), R"({"maxRecords":200,})");
  StorageManager storage(folder_);
  ASSERT_EQ(storage.loadHistory().size(), 12U);
  EXPECT_EQ(storage.loadSettings(), AppSettings::defaults);
  clips.erase(clips.begin() + 10, clips.end());
  storage.saveSettings(AppSettings::defaults);
  save(storage, clips);
  EXPECT_EQ(read(damaged()), whole);
  EXPECT_EQ(read(folder_ / "settings.json.damaged"), R"({"maxRecords":200,})");
  EXPECT_EQ(storage.loadSettings(), AppSettings::defaults);
}

TEST_F(StorageManagerTest, aHistoryReadAheadIsTakenOverOnceWithWhatWasWrongWithIt) {
  write(history(), "[{");
  StorageManager storage(folder_);
  storage.beginLoading();
  EXPECT_THAT(storage.loadHistory(), IsEmpty());
  save(storage, {textClip("a")});
  EXPECT_EQ(read(damaged()), "[{");
  EXPECT_THAT(previews(storage.loadHistory()), ElementsAre("a"));
}

TEST_F(StorageManagerTest, aSaveThatALaterOneSupersedesIsSkipped) {
  StorageManager storage(folder_);
  filesSynced = 0;
  filesCanBeSynced = false;
  storage.saveHistory({textClip("first")});
  while (filesSynced == 0) std::this_thread::yield();
  for (int number = 0; number < 20; ++number) storage.saveHistory({textClip("superseded")});
  storage.saveHistory({textClip("last")});
  filesCanBeSynced = true;
  storage.flushPendingWrites();
  EXPECT_THAT(previews(storage.loadHistory()), ElementsAre("last"));
  EXPECT_EQ(filesSynced, 2);
}

TEST_F(StorageManagerTest, saysWhatWasDoneButIsNotSurelyOnTheDisk) {
  StorageManager storage(folder_);
  foldersCannotBeSynced = true;
  save(storage, {textClip("a")});
  foldersCannotBeSynced = false;
  EXPECT_THAT(previews(storage.loadHistory()), ElementsAre("a"));
  EXPECT_THAT(errors(),
              ElementsAre(StartsWith("error storage: What was done to history.json is not "
                                     "surely on the disk: Input/output error")));
}

// The state that a crash between keeping a damaged history and replacing it leaves.
TEST_F(StorageManagerTest, aHistoryThatWasSetAsideBeforeACrashIsStillThereAfterwards) {
  write(history(), "[{");
  fs::create_hard_link(history(), damaged());
  StorageManager storage(folder_);
  storage.loadHistory();
  save(storage, {textClip("a")});
  EXPECT_EQ(read(damaged()), "[{");
  EXPECT_THAT(previews(storage.loadHistory()), ElementsAre("a"));
  EXPECT_THAT(names(), UnorderedElementsAre("history.json", "history.json.damaged"));
}

TEST_F(StorageManagerTest, whatCannotBeKeptIsNotReplaced) {
  write(history(), "[{");
  write(damaged() / "a folder stands here", "");
  StorageManager storage(folder_);
  storage.loadHistory();
  log_.clear();
  save(storage, {textClip("a")});
  EXPECT_EQ(read(history()), "[{");
  EXPECT_THAT(
      errors(),
      ElementsAre(StartsWith("error storage: Failed to save history.json: Is a directory")));
  EXPECT_THAT(names(), UnorderedElementsAre("history.json", "history.json.damaged"));
}

TEST_F(StorageManagerTest, aSymbolicLinkStaysAndItsTargetIsReplaced) {
  const fs::path target = root_ / "synced" / "stow.json";
  fs::create_directories(target.parent_path());
  fs::create_directories(folder_);
  fs::create_symlink("../../synced/stow.json", history());
  StorageManager storage(folder_);
  EXPECT_THAT(storage.loadHistory(), IsEmpty());
  save(storage, {textClip("a")});
  EXPECT_TRUE(fs::is_symlink(history()));
  EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(target)));
  EXPECT_THAT(previews(StorageManager(folder_).loadHistory()), ElementsAre("a"));
  storage.clearHistory();
  storage.flushPendingWrites();
  EXPECT_FALSE(fs::exists(target));
  EXPECT_TRUE(fs::is_symlink(history()));
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(StorageManagerTest, aFolderThatCannotBeMadeIsLoggedAndSoIsEverySave) {
  write(root_ / "data", "a file");
  StorageManager storage(folder_);
  EXPECT_THAT(storage.loadHistory(), IsEmpty());
  storage.saveHistory({textClip("a")});
  storage.saveSettings(AppSettings::defaults);
  storage.flushPendingWrites();
  EXPECT_THAT(
      errors(),
      ElementsAre(StartsWith("error storage: Failed to create storage directory: "),
                  StartsWith("error storage: Failed to save history.json: Not a directory"),
                  StartsWith("error storage: Failed to save settings.json: Not a directory")));
}

TEST_F(StorageManagerTest, whatStandsInTheWayIsLoggedAndStays) {
  write(history() / "inside", "");
  StorageManager storage(folder_);
  storage.saveHistory({textClip("a")});
  storage.clearHistory();
  storage.flushPendingWrites();
  EXPECT_THAT(errors(),
              ElementsAre(StartsWith("error storage: Failed to save history.json: Is a directory"),
                          StartsWith("error storage: Failed to remove history.json: Is a dir")));
  EXPECT_THAT(names(), ElementsAre("history.json"));
  EXPECT_TRUE(fs::exists(history() / "inside"));
}

/// A process of its own, in which assertions can be made, and its end be waited for.
class Child {
 public:
  explicit Child(const std::function<void()>& body) : id_(::fork()) {
    if (id_ != 0) return;
    body();
    ::_exit(testing::Test::HasFailure() ? 1 : 0);
  }
  void kill() const { ::kill(id_, SIGKILL); }
  int wait() const {
    int status = -1;
    ::waitpid(id_, &status, 0);
    return status;
  }

 private:
  pid_t id_;
};

TEST_F(StorageManagerTest, aProcessKilledAtAnyMomentLeavesOneWholeList) {
  const std::vector<ClipItem> before{textClip(std::string(900'000, 'b')), imageClip("before")};
  const std::vector<ClipItem> after{imageClip(std::string(1'200'000, 'a'))};
  std::mt19937 random(::getpid());
  int befores = 0;
  int afters = 0;
  {
    StorageManager storage(folder_);
    save(storage, before);
  }
  for (int round = 0; round < 60; ++round) {
    const auto lastWrite = fs::last_write_time(history());
    const Child child([&] {
      StorageManager storage(folder_);
      for (;;) {
        save(storage, after);
        save(storage, before);
      }
    });
    while (fs::last_write_time(history()) == lastWrite) std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::microseconds(random() % 20'000));
    child.kill();
    child.wait();

    StorageManager storage(folder_);
    const std::vector<ClipItem> found = storage.loadHistory();
    befores += found == before ? 1 : 0;
    afters += found == after ? 1 : 0;
    ASSERT_EQ(befores + afters, round + 1);
    ASSERT_THAT(names(), ElementsAre("history.json"));
  }
  EXPECT_GT(befores, 0);
  EXPECT_GT(afters, 0);
  EXPECT_THAT(log_.lines(), IsEmpty());
}

// Gives the calling process a file system of its own at `place`, which goes away with it. One that
// is not root's becomes that of a user namespace for it.
void mountMemory(const fs::path& place, const char* options) {
  const uid_t user = ::getuid();
  const gid_t group = ::getgid();
  const int own = user == 0 ? CLONE_NEWNS : CLONE_NEWUSER | CLONE_NEWNS;
  ASSERT_EQ(::unshare(own), 0) << "needs a mount namespace";
  if (user != 0) {
    std::ofstream("/proc/self/setgroups") << "deny";
    std::ofstream("/proc/self/uid_map") << "0 " << user << " 1";
    std::ofstream("/proc/self/gid_map") << "0 " << group << " 1";
  }
  ASSERT_EQ(::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr), 0);
  ASSERT_EQ(::mount("tmpfs", place.c_str(), "tmpfs", 0, options), 0);
}

void makeReadOnly(const fs::path& place) {
  ASSERT_EQ(::mount(nullptr, place.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0);
}

void limitFileSize(rlim_t bytes) {
  ::signal(SIGXFSZ, SIG_IGN);
  const rlimit limit{bytes, bytes};
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
}

TEST_F(StorageManagerTest, aDiskThatRefusesLeavesTheOldListWholeAndIsLogged) {
  struct Row {
    std::string_view name;
    std::function<void(const fs::path&)> prepare;
    std::function<void(const fs::path&)> refuse;
    std::string_view reason;
  };
  const auto nothing = [](const fs::path&) {};
  const auto memory = [](const fs::path& place) { mountMemory(place, "size=1m"); };
  const Row rows[] = {
      {"a full disk", memory, nothing, "No space left on device"},
      {"a read-only file system", memory, makeReadOnly, "Read-only file system"},
      {"a file size limit", nothing, [](const fs::path&) { limitFileSize(300'000); },
       "File too large"},
  };
  fs::create_directories(folder_);
  for (const Row& row : rows) {
    const Child child([&] {
      row.prepare(folder_);
      if (HasFatalFailure()) return;
      StorageManager storage(folder_);
      save(storage, {textClip("old")});
      row.refuse(folder_);
      save(storage, {textClip(std::string(2'000'000, 'x'))});
      EXPECT_THAT(errors(), ElementsAre(StartsWith("error storage: Failed to save history.json: " +
                                                   std::string(row.reason))));
      EXPECT_THAT(previews(storage.loadHistory()), ElementsAre("old"));
      EXPECT_THAT(names(), ElementsAre("history.json"));
    });
    EXPECT_EQ(child.wait(), 0) << row.name;
  }
}

}  // namespace
}  // namespace stowboard
