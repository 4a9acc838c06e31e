#include "Platform/Desktop/StartMemory.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace stowboard {
namespace {

constexpr std::size_t pageSize = 4096;
// Several of the stretches (64 KiB as a rule) that the kernel maps at once around a page in use.
constexpr std::size_t pageCount = 128;

constexpr auto makeConstants() {
  std::array<unsigned char, pageSize * pageCount> bytes{};
  for (std::size_t page = 0; page < pageCount; ++page) {
    bytes[page * pageSize + page] = static_cast<unsigned char>(page + 1);
  }
  return bytes;
}

// In the program file's own read-only segment.
alignas(pageSize) constinit const auto constants = makeConstants();

// How many pages of the constants are in this process's memory.
std::size_t presentPages() {
  std::array<std::uint64_t, pageCount> entries{};
  const auto page = reinterpret_cast<std::uintptr_t>(constants.data()) / pageSize;
  const int map = open("/proc/self/pagemap", O_RDONLY | O_CLOEXEC);
  const auto count =
      pread(map, entries.data(), sizeof entries, static_cast<off_t>(page * sizeof entries[0]));
  EXPECT_EQ(count, static_cast<ssize_t>(sizeof entries));
  close(map);
  return static_cast<std::size_t>(
      std::ranges::count_if(entries, [](std::uint64_t entry) { return (entry >> 63) != 0; }));
}

// As the reader of a changing object sees it.
unsigned char byteAt(std::size_t at) {
  return *static_cast<const volatile unsigned char*>(&constants[at]);
}

void patch(std::size_t at, unsigned char byte) {
  auto* const page = const_cast<unsigned char*>(&constants[at / pageSize * pageSize]);
  ASSERT_EQ(mprotect(page, pageSize, PROT_READ | PROT_WRITE), 0);
  *static_cast<volatile unsigned char*>(page + at % pageSize) = byte;
  ASSERT_EQ(mprotect(page, pageSize, PROT_READ), 0);
}

TEST(StartMemoryTest, GivesUnchangedPagesBackAndKeepsChangedOnes) {
  if (sysconf(_SC_PAGESIZE) != static_cast<long>(pageSize)) GTEST_SKIP() << "other page size";
  const auto expected = makeConstants();
  constexpr std::size_t patched = pageCount / 2 * pageSize + 100;
  const auto other = static_cast<unsigned char>(~expected[patched]);
  patch(patched, other);
  for (std::size_t page = 0; page < pageCount; ++page) byteAt(page * pageSize);
  ASSERT_EQ(presentPages(), pageCount);

  releaseStartMemory();

  EXPECT_LT(presentPages(), pageCount / 2);
  for (std::size_t at = 0; at < constants.size(); ++at) {
    ASSERT_EQ(byteAt(at), at == patched ? other : expected[at]) << at;
  }
}

}  // namespace
}  // namespace stowboard
