#include "Base/Files/PrivateFiles.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>

namespace stowboard {

namespace fs = std::filesystem;

FileError lastFileError(std::string_view action, const std::filesystem::path& path) {
  const int number = errno;
  const std::string reason = std::generic_category().message(number);
  return {fmt::format("{} ({} {})", reason, action, path.native()), number};
}

fs::path resolveLinks(const fs::path& path) {
  constexpr int mostLinks = 40;  // as many as Linux itself follows
  fs::path resolved = path;
  for (int count = 0; count < mostLinks; ++count) {
    std::error_code error;
    const fs::path next = fs::read_symlink(resolved, error);
    if (error) return resolved;
    resolved = resolved.parent_path() / next;
  }
  return path;
}

FileError createPrivateFolder(const fs::path& folder) {
  std::error_code error;
  if (fs::is_directory(folder, error)) return {};
  const fs::path parent = folder.parent_path();
  if (parent != folder && !parent.empty()) {
    if (FileError above = createPrivateFolder(parent); !above.empty()) return above;
  }
  if (::mkdir(folder.c_str(), privateFolderMode) != 0) {
    const FileError failure = lastFileError("creating", folder);
    // Somebody else may have been quicker.
    return fs::is_directory(folder, error) ? FileError{} : failure;
  }
  if (::chmod(folder.c_str(), privateFolderMode) != 0) {
    return lastFileError("making private", folder);
  }
  return syncFolder(parent);
}

FileError makePrivate(const fs::path& path) {
  struct stat status{};
  if (::stat(path.c_str(), &status) != 0) {
    return errno == ENOENT ? FileError{} : lastFileError("looking at", path);
  }
  const bool isFolder = S_ISDIR(status.st_mode);
  if (!isFolder && !S_ISREG(status.st_mode)) return {};
  const mode_t mode = isFolder ? privateFolderMode : privateFileMode;
  if ((status.st_mode & 07777 & ~mode) == 0) return {};
  return ::chmod(path.c_str(), mode) == 0 ? FileError{} : lastFileError("making private", path);
}

FileError keepAside(const fs::path& path, const fs::path& aside) {
  fs::path second = aside;
  second += ".new";
  ::unlink(second.c_str());
  if (::link(path.c_str(), second.c_str()) == 0) {
    const bool moved = ::rename(second.c_str(), aside.c_str()) == 0;
    FileError error = moved ? syncFolder(aside.parent_path()) : lastFileError("replacing", aside);
    // Renaming between two names of one file leaves both.
    ::unlink(second.c_str());
    return error;
  }
  // Not every file system has second names.
  if (errno == ENOENT || ::rename(path.c_str(), aside.c_str()) == 0) return {};
  return lastFileError("setting aside", path);
}

FileError removeFile(const fs::path& path) {
  if (::unlink(path.c_str()) == 0) return syncFolder(path.parent_path());
  return errno == ENOENT ? FileError{} : lastFileError("removing", path);
}

FileError syncFolder(const fs::path& folder) {
  const char* path = folder.empty() ? "." : folder.c_str();
  const int descriptor = ::open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) {
    FileError error = lastFileError("opening", folder);
    error.isDurabilityOnly = true;
    return error;
  }
  // EINVAL: a file system that has no such operation.
  const bool synced = ::fsync(descriptor) == 0 || errno == EINVAL;
  FileError error = synced ? FileError{} : lastFileError("syncing", folder);
  error.isDurabilityOnly = true;
  ::close(descriptor);
  return error;
}

FileReader::FileReader(const fs::path& path)
    : chunk_(std::make_unique_for_overwrite<std::array<char, chunkSize>>()) {
  // Not to be held up by a pipe that stands in the file's place.
  descriptor_ = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (descriptor_ < 0) error_ = errno;
  isMissing_ = error_ == ENOENT;
}

FileReader::~FileReader() {
  if (descriptor_ >= 0) ::close(descriptor_);
}

std::string_view FileReader::next() {
  while (error_ == 0) {
    const ssize_t count = ::read(descriptor_, chunk_->data(), chunkSize);
    if (count >= 0) return {chunk_->data(), static_cast<std::size_t>(count)};
    if (errno != EINTR) error_ = errno;
  }
  return {};
}

}  // namespace stowboard
