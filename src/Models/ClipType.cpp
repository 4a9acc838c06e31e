#include "Models/ClipType.h"

namespace stowboard {

std::string_view rawValue(ClipType type) {
  switch (type) {
    case ClipType::text:
      return "text";
    case ClipType::rtf:
      return "rtf";
    case ClipType::image:
      return "image";
  }
  return {};
}

std::optional<ClipType> clipTypeFromRawValue(std::string_view raw) {
  for (ClipType type : {ClipType::text, ClipType::rtf, ClipType::image}) {
    if (raw == rawValue(type)) return type;
  }
  return std::nullopt;
}

}  // namespace stowboard
