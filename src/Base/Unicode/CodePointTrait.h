#pragma once

#include <cstdint>

namespace stowboard {

/// What a code point asks of whoever folds or normalises a text that holds it.
enum class CodePointTrait : std::uint8_t {
  /// Folds to itself (ASCII capitals aside, which a byte comparison can see to), is in NFC, and
  /// neither combines with nor moves across what precedes it.
  plain,
  /// As plain, but folds to another single plain code point: É to é.
  cased,
  /// All else: combining marks, what is not in NFC, what folds to several code points.
  complex,
};

/// The trait of a Unicode scalar value, from ICU's properties. Safe to use from any thread; the
/// first use of a block of 256 code points works its traits out, later ones look them up.
CodePointTrait traitOf(char32_t codePoint);

}  // namespace stowboard
