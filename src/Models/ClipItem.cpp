#include "Models/ClipItem.h"

#include <utility>

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

namespace {

constexpr std::size_t previewCharacters = 60;

}  // namespace

ClipItem::ClipItem(Uuid id, ClipType type, std::optional<Text> textContent,
                   std::optional<Bytes> rtfData, std::optional<Bytes> imageData,
                   Timestamp timestamp)
    : content_(std::make_shared<const Content>(Content{
          id, type, std::move(textContent), std::move(rtfData), std::move(imageData), timestamp})) {
}

bool ClipItem::hasSameContent(const ClipItem& other) const {
  return content_ == other.content_ ||
         (type() == other.type() && textContent() == other.textContent() &&
          rtfData() == other.rtfData() && imageData() == other.imageData());
}

std::string_view ClipItem::previewText() const {
  if (type() == ClipType::image) return "[Image]";
  return textContent() ? textContent()->prefix(previewCharacters) : std::string_view();
}

bool operator==(const ClipItem& left, const ClipItem& right) {
  return left.id() == right.id() && left.timestamp() == right.timestamp() &&
         left.hasSameContent(right);
}

}  // namespace stowboard
