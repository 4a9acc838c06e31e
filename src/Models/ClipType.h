#pragma once

#include <optional>
#include <string_view>

namespace stowboard {

/// The kind of a clip.
enum class ClipType { text, rtf, image };

/// The word that stands for the kind in the history file.
std::string_view rawValue(ClipType type);
std::optional<ClipType> clipTypeFromRawValue(std::string_view raw);

}  // namespace stowboard
