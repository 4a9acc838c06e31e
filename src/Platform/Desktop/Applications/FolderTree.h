#pragma once

#include <filesystem>
#include <system_error>

namespace stowboard {

/// Calls `visit(entry)` with every file and folder below `folder`, in the disk's order, links
/// followed. What cannot be read is passed over, and so is what lies deeper than any menu, which
/// is also the end of links that lead in a circle. Reads the disk.
template <typename Visit>
void visitBelow(const std::filesystem::path& folder, Visit visit) {
  using std::filesystem::directory_options;
  constexpr int deepest = 8;
  std::error_code problem;
  std::filesystem::recursive_directory_iterator each(
      folder,
      directory_options::follow_directory_symlink | directory_options::skip_permission_denied,
      problem);
  for (const std::filesystem::recursive_directory_iterator end; !problem && each != end;
       each.increment(problem)) {
    if (each.depth() >= deepest) each.disable_recursion_pending();
    visit(*each);
  }
}

}  // namespace stowboard
