#include "Platform/Qt/QtImageCodec.h"

#include <QBuffer>
#include <QByteArray>
#include <QColorSpace>
#include <QImage>
#include <QImageReader>
#include <QImageWriter>
#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>

#include "Platform/ImageSignature.h"

namespace stowboard {

namespace {

constexpr auto workingFormat = QImage::Format_ARGB32_Premultiplied;
constexpr int bytesPerPixel = 4;

/// Qt's name of an image's MIME type.
QByteArray formatOfType(std::string_view type) {
  type.remove_prefix(std::string_view("image/").size());
  return {type.data(), static_cast<qsizetype>(type.size())};
}

/// Reads straight from the shared buffer, which has to live as long as this does.
class Reader {
 public:
  explicit Reader(const Bytes& encoded)
      : content_(
            QByteArray::fromRawData(encoded.view().data(), static_cast<qsizetype>(encoded.size()))),
        buffer_(&content_) {
    const auto type = imageTypeOf(encoded.view());
    if (type.empty() || !buffer_.open(QIODevice::ReadOnly)) return;
    reader_.setDevice(&buffer_);
    reader_.setAutoDetectImageFormat(false);
    reader_.setFormat(formatOfType(type));
    reader_.setAutoTransform(true);
    const QSize stored = reader_.size();
    if (stored.isEmpty()) return;
    isUsable_ = 1ll * stored.width() * stored.height() <= QtImageCodec::maxPixels;
    storedSize_ = stored;
  }

  /// Null when the data is damaged, too large or no image.
  QImage read() { return isUsable_ ? reader_.read() : QImage(); }

  /// Lets a JPEG be read smaller, by the eighths that its decoder saves work with, yet with both
  /// sides at least twice as long as those of the fitted image, which keeps it sharp.
  void reduceFor(int maxDimension) {
    if (!isUsable_ || reader_.format() != "jpeg") return;
    const double needed = 2.0 * maxDimension / std::max(storedSize_.width(), storedSize_.height());
    for (const int eighths : {1, 2, 4}) {
      if (eighths < 8 * needed) continue;
      reader_.setScaledSize({std::max(1, storedSize_.width() * eighths / 8),
                             std::max(1, storedSize_.height() * eighths / 8)});
      return;
    }
  }

  /// In pixels, upright.
  QSize fullSize() const {
    const bool isTurned = reader_.transformation() & QImageIOHandler::TransformationRotate90;
    return isTurned ? storedSize_.transposed() : storedSize_;
  }

 private:
  QByteArray content_;
  QBuffer buffer_;
  QImageReader reader_;
  QSize storedSize_;
  bool isUsable_ = false;
};

int scaleOfResolution(const QImage& image) {
  const int dotsPerMeter = image.dotsPerMeterX();
  // An image without a resolution gets Qt's default, that of the screen.
  const bool isDefault = dotsPerMeter == QImage(1, 1, workingFormat).dotsPerMeterX();
  if (isDefault || dotsPerMeter != image.dotsPerMeterY()) return 1;
  for (const int scale : {2, 3}) {
    constexpr double dotsPerMeterAtOne = 72 / 0.0254;
    // Files keep whole dots per metre, per centimetre or per inch.
    if (std::abs(dotsPerMeter - scale * dotsPerMeterAtOne) < 60) return scale;
  }
  return 1;
}

QImage scaledToSrgb(const QImage& image, int width, int height) {
  QImage scaled = image.scaled(width, height, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
  const QColorSpace srgb(QColorSpace::SRgb);
  if (scaled.colorSpace().isValid() && scaled.colorSpace() != srgb) {
    scaled.convertToColorSpace(srgb);
  }
  return scaled;
}

std::optional<RgbaBitmap> toBitmap(QImage image) {
  image.convertTo(QImage::Format_RGBA8888);
  if (image.isNull()) return std::nullopt;
  const auto rowLength = static_cast<std::size_t>(image.width()) * bytesPerPixel;
  RgbaBitmap bitmap{image.width(), image.height(), {}};
  bitmap.pixels.resize(rowLength * image.height());
  for (int row = 0; row < image.height(); ++row) {
    std::memcpy(bitmap.pixels.data() + row * rowLength, image.constScanLine(row), rowLength);
  }
  return bitmap;
}

QImage flattenedOntoWhite(const RgbaBitmap& bitmap) {
  QImage flat(bitmap.width, bitmap.height, QImage::Format_RGB888);
  const std::uint8_t* source = bitmap.pixels.data();
  for (int row = 0; row < flat.height(); ++row) {
    std::uint8_t* target = flat.scanLine(row);
    for (int column = 0; column < flat.width(); ++column, source += bytesPerPixel, target += 3) {
      const int alpha = source[3];
      for (int channel = 0; channel < 3; ++channel) {
        const int blended = source[channel] * alpha + 255 * (255 - alpha);
        target[channel] = static_cast<std::uint8_t>((blended + 127) / 255);
      }
    }
  }
  return flat;
}

struct Representation {
  std::string_view type;
  bool hasTransparency;
};
constexpr Representation representations[] = {
    {"image/png", true}, {"image/tiff", true}, {"image/jpeg", false}, {"image/bmp", false}};

std::optional<Bytes> encode(const QImage& image, std::string_view type, int quality) {
  QBuffer buffer;
  if (!buffer.open(QIODevice::WriteOnly)) return std::nullopt;
  QImageWriter writer(&buffer, formatOfType(type));
  writer.setQuality(quality);
  writer.setOptimizedWrite(true);
  if (!writer.write(image)) return std::nullopt;
  return Bytes(buffer.data().toStdString());
}

QImage withoutTransparency(QImage image) {
  const QColorSpace srgb(QColorSpace::SRgb);
  // The flat formats go to programs that seldom look for a colour profile.
  if (image.colorSpace().isValid() && image.colorSpace() != srgb) image.convertToColorSpace(srgb);
  if (!image.hasAlphaChannel()) return image.convertToFormat(QImage::Format_RGB888);
  const auto bitmap = toBitmap(image);
  QImage flat = bitmap ? flattenedOntoWhite(*bitmap) : QImage();
  flat.setDotsPerMeterX(image.dotsPerMeterX());
  flat.setDotsPerMeterY(image.dotsPerMeterY());
  return flat;
}

bool isWhole(const RgbaBitmap& bitmap) {
  if (bitmap.width < 1 || bitmap.height < 1) return false;
  const auto pixels = 1ull * bitmap.width * bitmap.height;
  return bitmap.pixels.size() == pixels * bytesPerPixel;
}

}  // namespace

/// Keeps its encoded bytes alive: they are the key of the cache and the source of later drawings.
class QtImageCodec::DecodedImage final : public Image {
 public:
  /// Null when the bytes are no image that can be read.
  static Shared create(const Bytes& encoded, std::optional<int> maxDimension) {
    Reader reader(encoded);
    if (maxDimension) reader.reduceFor(*maxDimension);
    QImage pixels = reader.read();
    if (pixels.isNull()) return nullptr;
    const int scale = scaleOfResolution(pixels);
    const QSize full = reader.fullSize();
    const ImageSize size{1.0 * full.width() / scale, 1.0 * full.height() / scale};
    pixels.convertTo(workingFormat);
    if (!maxDimension) return make(encoded, size, std::move(pixels), true);
    const ImageSize fitted = fittedSize(size, *maxDimension);
    return make(
        encoded, size,
        scaledToSrgb(pixels, static_cast<int>(fitted.width), static_cast<int>(fitted.height)),
        false);
  }

  DecodedImage(Bytes encoded, ImageSize size, QImage pixels, bool isFull)
      : encoded_(std::move(encoded)), size_(size), pixels_(std::move(pixels)), isFull_(isFull) {}

  ImageSize size() const override { return size_; }

  std::optional<RgbaBitmap> draw(int width, int height) const override {
    if (width < 1 || height < 1 || 1ll * width * height > maxPixels) return std::nullopt;
    if (pixels_.size() == QSize(width, height) && !isFull_) return toBitmap(pixels_);
    if (isFull_ || isReadyFor({1.0 * width, 1.0 * height})) {
      return toBitmap(scaledToSrgb(pixels_, width, height));
    }
    const QImage full = Reader(encoded_).read().convertToFormat(workingFormat);
    return full.isNull() ? std::nullopt : toBitmap(scaledToSrgb(full, width, height));
  }

  std::vector<std::string> representationTypes() const override {
    std::vector<std::string> types;
    for (const auto& each : representations) {
      types.insert(isOwnFormat(each) ? types.begin() : types.end(), std::string(each.type));
    }
    return types;
  }

  std::optional<Bytes> representation(std::string_view type) const override {
    const auto found = std::ranges::find(representations, type, &Representation::type);
    if (found == std::end(representations)) return std::nullopt;
    if (isOwnFormat(*found)) return encoded_;
    // Read anew, so that what the file holds is converted once only, to what the format can take.
    QImage image = Reader(encoded_).read();
    if (!found->hasTransparency) image = withoutTransparency(std::move(image));
    constexpr int jpegQuality = 95;
    constexpr int usual = -1;
    return encode(image, type, type == "image/jpeg" ? jpegQuality : usual);
  }

  /// Whether a fitted drawing needs no decoding; absent: any.
  bool isReadyFor(std::optional<int> maxDimension) const {
    return isFull_ || !maxDimension || isReadyFor(fittedSize(size_, *maxDimension));
  }

  const Bytes& encoded() const { return encoded_; }

 private:
  static Shared make(const Bytes& encoded, ImageSize size, QImage pixels, bool isFull) {
    if (pixels.isNull()) return nullptr;
    return std::make_shared<const DecodedImage>(encoded, size, std::move(pixels), isFull);
  }

  bool isOwnFormat(const Representation& each) const {
    return imageTypeOf(encoded_.view()) == each.type;
  }

  // At least a pixel: an image too narrow for a drawing that fits is an image all the same.
  static ImageSize fittedSize(const ImageSize& size, int maxDimension) {
    const ImageSize fitted = aspectFitSize(size, maxDimension);
    return {std::max(fitted.width, 1.0), std::max(fitted.height, 1.0)};
  }

  bool isReadyFor(const ImageSize& drawing) const {
    return drawing.width <= pixels_.width() && drawing.height <= pixels_.height();
  }

  const Bytes encoded_;
  const ImageSize size_;
  const QImage pixels_;
  const bool isFull_;
};

QtImageCodec::QtImageCodec() {
  QImageReader::setAllocationLimit(static_cast<int>((maxPixels * bytesPerPixel) >> 20));
}

QtImageCodec::~QtImageCodec() = default;

std::shared_ptr<const Image> QtImageCodec::decode(const Bytes& encoded) {
  return decoded(encoded, std::nullopt);
}

std::shared_ptr<const Image> QtImageCodec::decodeToFit(const Bytes& encoded, int maxDimension) {
  return decoded(encoded, std::max(maxDimension, 1));
}

std::optional<Bytes> QtImageCodec::encodeJpeg(const RgbaBitmap& bitmap, double quality) {
  if (!isWhole(bitmap)) return std::nullopt;
  QImage flat = flattenedOntoWhite(bitmap);
  // One pixel a point, and not the resolution of the screen.
  constexpr int dotsPerMeter = 2835;
  flat.setDotsPerMeterX(dotsPerMeter);
  flat.setDotsPerMeterY(dotsPerMeter);
  return encode(flat, "image/jpeg",
                static_cast<int>(std::lround(std::clamp(quality, 0.0, 1.0) * 100)));
}

QtImageCodec::Shared QtImageCodec::decoded(const Bytes& encoded, std::optional<int> maxDimension) {
  {
    const std::lock_guard lock(mutex_);
    if (auto image = find(encoded, maxDimension)) return image;
  }
  // Not under the lock: other threads' images need not wait for this one.
  auto image = DecodedImage::create(encoded, maxDimension);
  if (!image) return nullptr;
  const std::lock_guard lock(mutex_);
  if (auto earlier = find(encoded, maxDimension)) return earlier;
  std::erase_if(alive_, [](const auto& each) { return each.expired(); });
  alive_.push_back(image);
  return image;
}

// Under the lock.
QtImageCodec::Shared QtImageCodec::find(const Bytes& encoded, std::optional<int> maxDimension) {
  for (const auto& each : alive_) {
    auto image = each.lock();
    if (!image || !image->encoded().sharesStorageWith(encoded)) continue;
    if (image->isReadyFor(maxDimension)) return image;
  }
  return nullptr;
}

}  // namespace stowboard
