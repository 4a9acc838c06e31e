#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <string_view>

#include "Base/Files/PrivateFiles.h"

namespace stowboard {

/// A file that replaces another whole. Content goes to a temporary file in the same folder, private
/// to the user, and takes the target's place in one step, so that a reader or a crash at any moment
/// finds all of the old content or all of the new. One thread at a time; what waits for the disk
/// says so, and a large write may, too.
///
/// The first operation to fail decides: the later ones do nothing and fail with it. Unless
/// putInPlace() succeeded, destruction leaves the target as it was and removes the temporary.
/// After a crash the temporary stays, as `.<name>.<random>.tmp`.
class AtomicFile {
 public:
  /// The folder must exist. `target` must not be a symbolic link, which would be replaced itself;
  /// see resolveLinks().
  explicit AtomicFile(std::filesystem::path target);
  ~AtomicFile();
  AtomicFile(const AtomicFile&) = delete;
  AtomicFile& operator=(const AtomicFile&) = delete;

  bool write(std::string_view bytes);
  /// Returns when the content written so far has reached the disk.
  bool sync();
  /// Puts the file in the target's place, mode 0600, and waits for nothing: a crash of the system
  /// may leave it empty unless sync() came first.
  bool putInPlace();
  /// putInPlace() that returns when that, too, has reached the disk. sync() comes first.
  bool replaceTarget();

  /// Why an operation failed; empty while none has.
  const FileError& error() const { return error_; }

  /// Removes temporaries of `target` that a crash left behind, but none that is being written now,
  /// by whichever process.
  static void removeLeftovers(const std::filesystem::path& target);

 private:
  bool fail(std::string_view action, const std::filesystem::path& path);
  bool isOpen() const { return descriptor_ >= 0; }
  void startWriteback();
  void close();

  const std::filesystem::path target_;
  std::filesystem::path temporary_;
  int descriptor_ = -1;
  off_t written_ = 0;
  off_t writebackFrom_ = 0;
  FileError error_;
};

}  // namespace stowboard
