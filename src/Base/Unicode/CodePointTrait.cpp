#include "Base/Unicode/CodePointTrait.h"

#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <array>
#include <atomic>
#include <mutex>

#include "Base/Unicode/CaseLocale.h"

namespace stowboard {

namespace {

constexpr char32_t blockSize = 256;
constexpr std::size_t blockCount = 0x110000 / blockSize;

/// Two bits a code point; of these 272 KiB only the pages of blocks in use are ever backed by
/// memory.
std::array<std::uint8_t, 0x110000 / 4> packedTraits;
std::array<std::atomic<bool>, blockCount> isReady;
std::mutex writing;

bool isInertInNfc(char32_t codePoint) {
  const auto c = static_cast<UChar32>(codePoint);
  UErrorCode status = U_ZERO_ERROR;
  const auto* nfd = icu::Normalizer2::getNFDInstance(status);
  return u_getIntPropertyValue(c, UCHAR_NFC_QUICK_CHECK) == UNORM_YES &&
         u_getCombiningClass(c) == 0 && nfd->hasBoundaryBefore(c);
}

CodePointTrait derive(char32_t codePoint) {
  if (U_IS_SURROGATE(codePoint) || !isInertInNfc(codePoint)) return CodePointTrait::complex;
  if (codePoint < 0x80) return CodePointTrait::plain;
  const icu::UnicodeString original(static_cast<UChar32>(codePoint));
  const auto folded = foldSegment(original, CaseLocale::root);
  if (folded == original) return CodePointTrait::plain;
  const auto target = static_cast<char32_t>(folded.char32At(0));
  const bool isSingle = folded.countChar32() == 1 && isInertInNfc(target) &&
                        foldSegment(folded, CaseLocale::root) == folded;
  return isSingle ? CodePointTrait::cased : CodePointTrait::complex;
}

void deriveBlock(std::size_t block) {
  const std::lock_guard lock(writing);
  if (isReady[block].load(std::memory_order_relaxed)) return;
  const auto first = static_cast<char32_t>(block * blockSize);
  for (char32_t codePoint = first; codePoint < first + blockSize; ++codePoint) {
    const auto bits = static_cast<unsigned>(derive(codePoint)) << (codePoint % 4 * 2);
    packedTraits[codePoint / 4] = static_cast<std::uint8_t>(packedTraits[codePoint / 4] | bits);
  }
  isReady[block].store(true, std::memory_order_release);
}

}  // namespace

CodePointTrait traitOf(char32_t codePoint) {
  if (codePoint < 0x80) return CodePointTrait::plain;
  const std::size_t block = codePoint / blockSize;
  if (!isReady[block].load(std::memory_order_acquire)) deriveBlock(block);
  return static_cast<CodePointTrait>(packedTraits[codePoint / 4] >> (codePoint % 4 * 2) & 3);
}

}  // namespace stowboard
