#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace stowboard {

/// A byte string to look for, with the capitals of ASCII letters taken for the small ones. Looks at
/// 64 places at a time for the two bytes of the pattern that text holds least often, and compares
/// the whole only where both are.
class SubstringPattern {
 public:
  static constexpr std::size_t none = std::string_view::npos;

  SubstringPattern() = default;
  /// `lowerCase` holds no ASCII capitals. Letters among `exact` match themselves alone.
  explicit SubstringPattern(std::string lowerCase, std::string_view exact = {});

  std::string_view bytes() const { return bytes_; }
  bool empty() const { return bytes_.empty(); }

  /// The first place at or after `from` where the pattern occurs, or `none`.
  std::size_t findIn(std::string_view text, std::size_t from = 0) const;

 private:
  static constexpr std::size_t blockSize = 64;
  /// For each place of a block a byte, one where the pattern may begin.
  using Marks = std::array<std::uint64_t, blockSize / sizeof(std::uint64_t)>;

  void chooseBytesToLookFor();
  bool occursAt(const char* place) const;
  std::size_t findInBlock(const char* block) const;
  std::size_t firstOccurrence(const char* block, const Marks& marks) const;

  std::string bytes_;
  /// For each byte the bits to set in the text before comparing: 0x20 makes ASCII letters small.
  std::string caseBits_;
  std::size_t rarest_ = 0;
  std::size_t secondRarest_ = 0;
};

}  // namespace stowboard
