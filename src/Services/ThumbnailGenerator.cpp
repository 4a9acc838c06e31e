#include "Services/ThumbnailGenerator.h"

namespace stowboard {

std::optional<Bytes> ThumbnailGenerator::thumbnailData(const Image& image) const {
  const ImageSize source = image.size();
  // Written so that a size which is no number is refused too.
  if (!(source.width > 0 && source.height > 0)) return std::nullopt;
  const ImageSize target = aspectFitSize(source, maxDimension);
  const auto bitmap = image.draw(static_cast<int>(target.width), static_cast<int>(target.height));
  return bitmap ? codec_.encodeJpeg(*bitmap, quality) : std::nullopt;
}

}  // namespace stowboard
