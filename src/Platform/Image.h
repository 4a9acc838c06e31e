#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Base/Bytes.h"

namespace stowboard {

/// A width and a height, in points unless said otherwise.
struct ImageSize {
  double width = 0;
  double height = 0;
  friend bool operator==(const ImageSize&, const ImageSize&) = default;
};

/// `source` scaled down, never up, to fit into a square of `maxDimension`, in whole numbers rounded
/// down. In double precision, so that the longer side can come out one short: 562 × (300 / 562) is
/// just below 300.
inline ImageSize aspectFitSize(const ImageSize& source, double maxDimension) {
  const double scale = std::min(maxDimension / std::max(source.width, source.height), 1.0);
  return {std::floor(source.width * scale), std::floor(source.height * scale)};
}

/// 8-bit red, green, blue and (straight, not premultiplied) alpha, interleaved, rows from the top
/// without padding.
struct RgbaBitmap {
  int width = 0;
  int height = 0;
  std::vector<std::uint8_t> pixels;
};

/// A decoded image. Immutable; safe to use from any thread.
class Image {
 public:
  virtual ~Image() = default;

  /// In points: pixels divided by the scale that the image's own resolution gives (72 dots per inch
  /// and images without a resolution: 1).
  virtual ImageSize size() const = 0;

  /// The whole image scaled (smoothly) into width × height pixels, transparent areas kept. Absent
  /// when a side is below 1 or the bitmap cannot be had.
  virtual std::optional<RgbaBitmap> draw(int width, int height) const = 0;

  /// The MIME types that representation() knows, the format of the image's own file first.
  virtual std::vector<std::string> representationTypes() const = 0;

  /// The whole image as a file of that type, encoded at every call, which can take long. The very
  /// bytes that the image was decoded from when they are of that type. Formats without
  /// transparency are flattened onto white. Absent for other types, or when the encoder fails.
  virtual std::optional<Bytes> representation(std::string_view type) const = 0;
};

/// Decoder and encoder. Safe to use from any thread.
class ImageCodec {
 public:
  virtual ~ImageCodec() = default;

  /// Decodes PNG, TIFF, JPEG, WebP, BMP or GIF (its first picture), recognised by the bytes; null
  /// on anything else or on damaged data. While an image decoded from the same buffer (the
  /// same storage, see Bytes::sharesStorageWith) is alive, that image is returned at once.
  virtual std::shared_ptr<const Image> decode(const Bytes& encoded) = 0;

  /// Decodes like decode(), for a caller that will only draw the image to fit into a square of
  /// `maxDimension` pixels: the full-size pixels are dropped and a drawing of that size, never
  /// enlarged, is ready. A larger drawing is still possible, at the cost of another decoding.
  virtual std::shared_ptr<const Image> decodeToFit(const Bytes& encoded, int maxDimension) = 0;

  /// JPEG (baseline, no alpha: transparent areas are flattened onto white); `quality` from 0 to 1.
  /// Absent when the bitmap is empty or the encoder fails.
  virtual std::optional<Bytes> encodeJpeg(const RgbaBitmap& bitmap, double quality) = 0;
};

}  // namespace stowboard
