#pragma once

#include <optional>

#include "Base/Bytes.h"
#include "Platform/Image.h"

namespace stowboard {

/// Makes the JPEG that an image clip keeps in place of the full-size image. Any thread.
class ThumbnailGenerator {
 public:
  /// The longest side of a thumbnail in pixels, measured against the image's size in points.
  static constexpr int maxDimension = 300;
  /// The JPEG quality, from 0 to 1.
  static constexpr double quality = 0.7;

  /// `codec` must outlive the generator.
  explicit ThumbnailGenerator(ImageCodec& codec) : codec_(codec) {}

  /// The whole image as a JPEG of at most maxDimension pixels a side. Absent when the image is
  /// empty, so narrow that a side of the thumbnail has no pixel, or cannot be drawn or encoded.
  std::optional<Bytes> thumbnailData(const Image& image) const {
    const ImageSize source = image.size();
    // Written so that a size which is no number is refused too.
    if (!(source.width > 0 && source.height > 0)) return std::nullopt;
    const ImageSize target = aspectFitSize(source, maxDimension);
    const auto bitmap = image.draw(static_cast<int>(target.width), static_cast<int>(target.height));
    return bitmap ? codec_.encodeJpeg(*bitmap, quality) : std::nullopt;
  }

  /// See stowboard::aspectFitSize.
  static ImageSize aspectFitSize(const ImageSize& source, double maxDimension) {
    return stowboard::aspectFitSize(source, maxDimension);
  }

 private:
  ImageCodec& codec_;
};

}  // namespace stowboard
