#include "Platform/Desktop/StartMemory.h"

#include <fcntl.h>
#include <link.h>
#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace stowboard {

namespace {

// Bits of an entry (proc_pid_pagemap).
constexpr std::uint64_t isPresent = std::uint64_t{1} << 63;
constexpr std::uint64_t isSwapped = std::uint64_t{1} << 62;
constexpr std::uint64_t isOfFile = std::uint64_t{1} << 61;

constexpr std::array<std::string_view, 4> fontSuffixes{".ttf", ".ttc", ".otf", ".pfb"};

bool hasPrivateCopy(std::uint64_t page) {
  return (page & isSwapped) != 0 || ((page & isPresent) != 0 && (page & isOfFile) == 0);
}

/// What stands behind each page of this process.
class PageMap {
 public:
  PageMap() : descriptor_(open("/proc/self/pagemap", O_RDONLY | O_CLOEXEC)) {}
  ~PageMap() {
    if (descriptor_ >= 0) close(descriptor_);
  }
  PageMap(const PageMap&) = delete;
  PageMap& operator=(const PageMap&) = delete;

  /// Empty when the system does not tell.
  std::vector<std::uint64_t> read(std::uintptr_t firstPage, std::size_t count) const {
    std::vector<std::uint64_t> pages(count);
    const std::size_t size = count * sizeof(std::uint64_t);
    const auto offset = static_cast<off_t>(firstPage * sizeof(std::uint64_t));
    if (pread(descriptor_, pages.data(), size, offset) != static_cast<ssize_t>(size)) return {};
    return pages;
  }

 private:
  const int descriptor_;
};

// Copies, as a debugger's breakpoints and relocated code make them, would be lost.
void dropFilePages(const PageMap& map, std::uintptr_t begin, std::uintptr_t end) {
  const auto pageSize = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
  const std::uintptr_t first = begin / pageSize;
  const auto pages = map.read(first, (end + pageSize - 1) / pageSize - first);
  for (auto at = pages.begin(); at != pages.end();) {
    const auto next = std::find_if(at, pages.end(), hasPrivateCopy);
    const auto start = first + static_cast<std::uintptr_t>(at - pages.begin());
    const auto size = static_cast<std::size_t>(next - at) * pageSize;
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the loader gives addresses as integers.
    auto* const address = reinterpret_cast<void*>(start * pageSize);
    if (size > 0) madvise(address, size, MADV_DONTNEED);
    at = std::find_if_not(next, pages.end(), hasPrivateCopy);
  }
}

int dropConstantPages(dl_phdr_info* object, std::size_t, void* map) {
  for (const auto& segment : std::span(object->dlpi_phdr, object->dlpi_phnum)) {
    if (segment.p_type != PT_LOAD || (segment.p_flags & PF_W) != 0) continue;
    const std::uintptr_t begin = object->dlpi_addr + segment.p_vaddr;
    dropFilePages(*static_cast<const PageMap*>(map), begin, begin + segment.p_memsz);
  }
  return 0;
}

// The loader does not know of these mappings. No other thread undoes them: only the one with the
// windows uses fonts.
void dropFontPages(const PageMap& map) {
  std::ifstream mappings("/proc/self/maps");
  for (std::string line; std::getline(mappings, line);) {
    unsigned long begin = 0;
    unsigned long end = 0;
    char access[5] = "";
    if (std::sscanf(line.c_str(), "%lx-%lx %4s", &begin, &end, access) != 3) continue;
    const std::string_view name = line;
    const bool isFont = std::ranges::any_of(
        fontSuffixes, [name](std::string_view suffix) { return name.ends_with(suffix); });
    if (isFont && access[1] != 'w') dropFilePages(map, begin, end);
  }
}

}  // namespace

void releaseStartMemory() {
  malloc_trim(0);
  PageMap map;
  // Nothing is loaded or unloaded during the visit: the loader holds its lock.
  dl_iterate_phdr(dropConstantPages, &map);
  dropFontPages(map);
}

}  // namespace stowboard
