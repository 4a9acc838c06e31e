#pragma once

#include <sys/types.h>

#include <array>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

namespace stowboard {

/// Why work on a file failed, in words that begin with the system's own: "No space left on device
/// (writing /home/ada/.local/share/…)". Empty for none.
struct FileError {
  std::string description;
  /// The system's own number, as in errno.
  int number = 0;
  /// Everything was done, but may be undone should the system crash now.
  bool isDurabilityOnly = false;

  bool empty() const { return description.empty(); }
};

/// The error that errno holds. `action` is what was being done to `path`, in its -ing form.
FileError lastFileError(std::string_view action, const std::filesystem::path& path);

constexpr mode_t privateFileMode = 0600;
constexpr mode_t privateFolderMode = 0700;

/// What `path` names in the end, once symbolic links in its last component have been followed,
/// whether that exists or not. `path` itself when the links run in a circle.
std::filesystem::path resolveLinks(const std::filesystem::path& path);

/// Creates the folder and those above it that are missing, each with mode 0700 whatever the umask.
/// An existing folder is no error.
FileError createPrivateFolder(const std::filesystem::path& folder);

/// Where others, too, may do something with a file or folder: makes its mode 0600 or 0700. A
/// missing file is no error, and neither is one that holds nothing of its own (a device, a pipe).
FileError makePrivate(const std::filesystem::path& path);

/// Keeps the file at `path` under the name `aside`, in place of any file there. `path` may be gone
/// afterwards or not; the content has one of the two names at every moment. A missing file is no
/// error.
FileError keepAside(const std::filesystem::path& path, const std::filesystem::path& aside);

/// Removes a file; a missing one is no error.
FileError removeFile(const std::filesystem::path& path);

/// Returns when the folder's entries (created, renamed, removed) have reached the disk. An error is
/// one of durability only.
FileError syncFolder(const std::filesystem::path& folder);

/// Reads a file from its start, in chunks.
class FileReader {
 public:
  explicit FileReader(const std::filesystem::path& path);
  ~FileReader();
  FileReader(const FileReader&) = delete;
  FileReader& operator=(const FileReader&) = delete;

  /// The next bytes, valid until the next call; empty at the end and after a failure.
  std::string_view next();

  /// Why the file could not be read to its end, as in errno; 0 while it could.
  int error() const { return error_; }
  bool isMissing() const { return isMissing_; }
  bool hasFailed() const { return error_ != 0; }

 private:
  static constexpr std::size_t chunkSize = std::size_t{256} * 1024;

  int descriptor_ = -1;
  int error_ = 0;
  bool isMissing_ = false;
  std::unique_ptr<std::array<char, chunkSize>> chunk_;
};

}  // namespace stowboard
