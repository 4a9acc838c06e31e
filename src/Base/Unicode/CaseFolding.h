#pragma once

#include <string>
#include <string_view>

#include "Base/Unicode/CaseLocale.h"

namespace stowboard {

/// The form in which two texts that differ in case only, or in canonically equivalent encodings,
/// are the same bytes; see foldSegment(). Takes valid UTF-8.
std::string foldCase(std::string_view utf8, CaseLocale locale);

}  // namespace stowboard
