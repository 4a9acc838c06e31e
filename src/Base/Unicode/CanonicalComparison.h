#pragma once

#include <string_view>

namespace stowboard {

/// Whether two valid UTF-8 texts are canonically equivalent (UAX #15). Normalises only the
/// stretches where the bytes differ, and stops at the first one that is not equivalent.
bool areCanonicallyEquivalent(std::string_view left, std::string_view right);

}  // namespace stowboard
