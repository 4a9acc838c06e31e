#include "Base/Files/AtomicFile.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace stowboard {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view suffix = ".tmp";

std::string prefixFor(const fs::path& target) {
  return fmt::format(".{}.", target.filename().native());
}

bool isTemporaryOf(const fs::path& target, const std::string& name) {
  return name.starts_with(prefixFor(target)) && name.ends_with(suffix);
}

// A writer holds its lock until the file has its final name or its process ends.
void removeUnlessLocked(const fs::path& path) {
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
  if (descriptor < 0) return;
  if (::flock(descriptor, LOCK_EX | LOCK_NB) == 0) ::unlink(path.c_str());
  ::close(descriptor);
}

}  // namespace

AtomicFile::AtomicFile(fs::path target) : target_(std::move(target)) {
  std::string name = target_.parent_path() / (prefixFor(target_) + "XXXXXX" + std::string(suffix));
  descriptor_ = ::mkostemps(name.data(), static_cast<int>(suffix.size()), O_CLOEXEC);
  if (!isOpen()) {
    fail("creating a file in", target_.parent_path());
    return;
  }
  temporary_ = name;
  ::flock(descriptor_, LOCK_EX | LOCK_NB);
  // The umask may have taken away even the owner's rights.
  if (::fchmod(descriptor_, privateFileMode) != 0) fail("making private", temporary_);
}

AtomicFile::~AtomicFile() {
  close();
  if (!temporary_.empty()) ::unlink(temporary_.c_str());
}

bool AtomicFile::write(std::string_view bytes) {
  while (error_.empty() && !bytes.empty()) {
    const ssize_t count = ::write(descriptor_, bytes.data(), bytes.size());
    if (count >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(count));
      written_ += count;
      startWriteback();
    } else if (errno != EINTR) {
      fail("writing", temporary_);
    }
  }
  return error_.empty();
}

// The disk works while the rest of the content is made, so that there is less to wait for in
// sync(). Where that cannot be done, nothing is lost by it.
void AtomicFile::startWriteback() {
  constexpr off_t stretch = off_t{4} * 1024 * 1024;
  if (written_ - writebackFrom_ < stretch) return;
  ::sync_file_range(descriptor_, writebackFrom_, written_ - writebackFrom_, SYNC_FILE_RANGE_WRITE);
  writebackFrom_ = written_;
}

bool AtomicFile::sync() {
  if (error_.empty() && ::fsync(descriptor_) != 0) fail("syncing", temporary_);
  return error_.empty();
}

bool AtomicFile::putInPlace() {
  if (!error_.empty()) return false;
  if (::rename(temporary_.c_str(), target_.c_str()) != 0) return fail("replacing", target_);
  temporary_.clear();
  close();
  return true;
}

bool AtomicFile::replaceTarget() {
  if (!putInPlace()) return false;
  error_ = syncFolder(target_.parent_path());
  return error_.empty();
}

bool AtomicFile::fail(std::string_view action, const fs::path& path) {
  error_ = lastFileError(action, path);
  return false;
}

void AtomicFile::close() {
  if (isOpen()) ::close(std::exchange(descriptor_, -1));
}

void AtomicFile::removeLeftovers(const fs::path& target) {
  std::error_code error;
  fs::directory_iterator entry(target.parent_path(), error);
  for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
    if (isTemporaryOf(target, entry->path().filename())) removeUnlessLocked(entry->path());
  }
}

}  // namespace stowboard
