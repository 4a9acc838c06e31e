#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "Platform/Image.h"

namespace stowboard {

/// Images by Qt's readers and writers. Works on every thread and without an application object;
/// TIFF and WebP need Qt's image format plugins (package qt6-image-formats-plugins).
///
/// Formats are recognised by their first bytes alone, and no other reader is ever tried. The
/// orientation that a camera recorded is applied. Drawings are in sRGB whatever profile the image
/// carries. A JPEG that breaks off decodes as far as it goes, as everywhere; the other formats
/// are refused then, except where their reader makes do.
///
/// Size in points: a resolution of exactly 2 or 3 times 72 dots per inch, the same both ways, is
/// taken as the mark of a picture made for a denser screen. Every other one, such as the 96 of
/// ordinary screenshots and the 300 of photographs, says something about paper only and counts
/// as 72.
///
/// Images of more than maxPixels are refused by their header, before memory is taken. Qt's own
/// bound, which is the process's, is raised to match.
class QtImageCodec final : public ImageCodec {
 public:
  static constexpr long long maxPixels = 128ll << 20;

  QtImageCodec();
  ~QtImageCodec() override;

  std::shared_ptr<const Image> decode(const Bytes& encoded) override;
  /// A JPEG is decoded at a fraction of its size where that is enough.
  std::shared_ptr<const Image> decodeToFit(const Bytes& encoded, int maxDimension) override;
  std::optional<Bytes> encodeJpeg(const RgbaBitmap& bitmap, double quality) override;

 private:
  class DecodedImage;
  using Shared = std::shared_ptr<const DecodedImage>;

  Shared find(const Bytes& encoded, std::optional<int> maxDimension);
  Shared decoded(const Bytes& encoded, std::optional<int> maxDimension);

  std::mutex mutex_;
  std::vector<std::weak_ptr<const DecodedImage>> alive_;
};

}  // namespace stowboard
