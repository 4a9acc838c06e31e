#include "Platform/Qt/QtImageCodec.h"

#include <gtest/gtest.h>

#include <QBuffer>
#include <QColor>
#include <QColorSpace>
#include <QImage>
#include <QImageWriter>
#include <array>
#include <cstdlib>
#include <string>
#include <thread>

#include "contract/ImageCodecContract.h"

namespace stowboard {
namespace {

Bytes written(const QImage& image, const char* format) {
  QBuffer buffer;
  buffer.open(QIODevice::WriteOnly);
  QImageWriter writer(&buffer, format);
  writer.setQuality(95);
  EXPECT_TRUE(writer.write(image)) << format;
  return Bytes(buffer.data().toStdString());
}

QImage filled(int width, int height, QColor color) {
  QImage image(width, height, QImage::Format_ARGB32);
  image.fill(color);
  return image;
}

/// Red above, blue below.
QImage flag(int width, int height) {
  QImage image = filled(width, height, Qt::blue);
  for (int y = 0; y < height / 2; ++y) {
    for (int x = 0; x < width; ++x) image.setPixelColor(x, y, Qt::red);
  }
  return image;
}

using Pixel = std::array<int, 4>;

Pixel pixel(const RgbaBitmap& bitmap, int x, int y) {
  const std::uint8_t* at = bitmap.pixels.data() + 4 * (y * bitmap.width + x);
  return {at[0], at[1], at[2], at[3]};
}

bool isNear(const Pixel& pixel, const Pixel& expected, int tolerance) {
  for (int channel = 0; channel < 4; ++channel) {
    if (std::abs(pixel[channel] - expected[channel]) > tolerance) return false;
  }
  return true;
}

constexpr Pixel red = {255, 0, 0, 255};
constexpr Pixel blue = {0, 0, 255, 255};

class QtImageCodecHarness {
 public:
  ImageCodec& codec() { return codec_; }
  Bytes picture(int width, int height) { return written(filled(width, height, Qt::red), "png"); }

 private:
  QtImageCodec codec_;
};

INSTANTIATE_TYPED_TEST_SUITE_P(Qt, ImageCodecContract, QtImageCodecHarness);

/// Two pictures of 2 × 2, the first red, the second blue.
Bytes animatedGif() {
  using namespace std::string_literals;
  const auto picture = ","s + std::string(4, '\0') + "\2\0\2\0\0\2\2"s;
  return Bytes("GIF89a\2\0\2\0\x80\0\0\xff\0\0\0\0\xff"s + picture + "\x84\x51\0"s + picture +
               "\x8c\x53\0;"s);
}

TEST(QtImageRepresentationTest, EveryFormatShowsTheSamePictureAndTheOwnOneIsLeftAlone) {
  QtImageCodec codec;
  QImage source = flag(40, 30);
  for (int x = 0; x < 40; ++x) source.setPixelColor(x, 0, Qt::transparent);
  for (const char* format : {"png", "jpeg", "bmp", "tiff", "webp"}) {
    SCOPED_TRACE(format);
    const bool isFlat = format == std::string("jpeg") || format == std::string("bmp");
    const QImage original = isFlat ? flag(40, 30) : source;
    const Bytes file = written(original, format);
    // As a copy is decoded, which keeps less than the whole.
    const auto image = codec.decodeToFit(file, 10);
    ASSERT_TRUE(image);
    ASSERT_EQ(image->representationTypes().size(), 4u);
    for (const auto& type : image->representationTypes()) {
      SCOPED_TRACE(type);
      const auto encoded = image->representation(type);
      ASSERT_TRUE(encoded);
      EXPECT_EQ(encoded->sharesStorageWith(file), type == std::string("image/") + format);
      const auto again = codec.decode(*encoded);
      ASSERT_TRUE(again);
      EXPECT_EQ(again->size(), (ImageSize{40, 30}));
      const auto drawing = again->draw(40, 30);
      EXPECT_TRUE(isNear(pixel(*drawing, 20, 25), blue, 12));
      EXPECT_TRUE(isNear(pixel(*drawing, 20, 7), red, 12));
      const bool keepsHoles = type == "image/png" || type == "image/tiff";
      const Pixel hole = keepsHoles ? Pixel{0, 0, 0, 0} : Pixel{255, 255, 255, 255};
      const bool isTold = !isFlat && type != "image/jpeg";
      EXPECT_TRUE(!isTold || isNear(pixel(*drawing, 20, 0), hole, 0));
    }
    EXPECT_FALSE(image->representation("image/webp"));
  }
}

// No application object exists in this program.
TEST(QtImageCodec, DecodesEveryFormatOnAnyThread) {
  QtImageCodec codec;
  for (const char* format : {"png", "jpeg", "bmp", "tiff", "webp"}) {
    const Bytes encoded = written(flag(40, 20), format);
    std::optional<RgbaBitmap> bitmap;
    std::thread([&] {
      if (const auto image = codec.decode(encoded)) bitmap = image->draw(40, 20);
    }).join();
    ASSERT_TRUE(bitmap) << format;
    EXPECT_TRUE(isNear(pixel(*bitmap, 20, 3), red, 8)) << format;
    EXPECT_TRUE(isNear(pixel(*bitmap, 20, 16), blue, 8)) << format;
  }
  const auto gif = codec.decode(animatedGif());
  ASSERT_TRUE(gif);
  EXPECT_EQ(pixel(*gif->draw(2, 2), 1, 1), red);
}

TEST(QtImageCodec, RefusesOtherFormatsAndSurvivesDamage) {
  QtImageCodec codec;
  EXPECT_FALSE(codec.decode(written(flag(8, 8), "ppm")));
  EXPECT_FALSE(
      codec.decode(Bytes("<svg xmlns='http://www.w3.org/2000/svg' width='9' height='9'/>")));
  for (const char* format : {"png", "jpeg", "bmp", "tiff", "webp"}) {
    const std::string whole(written(flag(40, 20), format).view());
    for (std::size_t length = 0; length < whole.size(); length += 1 + whole.size() / 64) {
      const auto image = codec.decode(Bytes(whole.substr(0, length)));
      EXPECT_TRUE(!image || image->draw(10, 5)) << format;
      std::string damaged = whole;
      damaged[length] = static_cast<char>(~damaged[length]);
      const auto other = codec.decodeToFit(Bytes(damaged), 300);
      EXPECT_TRUE(!other || other->draw(10, 5)) << format;
    }
  }
  const std::string png(written(flag(40, 20), "png").view());
  EXPECT_FALSE(codec.decode(Bytes(png.substr(0, png.size() / 2))));
}

// One bit a pixel: the file and its pixels are small, but not what they would become.
TEST(QtImageCodec, RefusesMorePixelsThanItsBound) {
  QImage huge(12'000, 12'000, QImage::Format_Mono);
  huge.fill(0);
  ASSERT_GT(1ll * huge.width() * huge.height(), QtImageCodec::maxPixels);
  const Bytes encoded = written(huge, "png");
  QtImageCodec codec;
  EXPECT_FALSE(codec.decode(encoded));
  EXPECT_FALSE(codec.decodeToFit(encoded, 300));
}

TEST(QtImageCodec, TakesOnlyScreenResolutionsAsAScale) {
  struct Case {
    double dotsPerInchX;
    double dotsPerInchY;
    int scale;
  };
  QtImageCodec codec;
  for (const auto& each : {Case{72, 72, 1},
                           {96, 96, 1},
                           {100, 100, 1},
                           {144, 144, 2},
                           {216, 216, 3},
                           {300, 300, 1},
                           {288, 288, 1},
                           {144, 72, 1}}) {
    QImage image = filled(600, 300, Qt::red);
    image.setDotsPerMeterX(static_cast<int>(each.dotsPerInchX / 0.0254));
    image.setDotsPerMeterY(static_cast<int>(each.dotsPerInchY / 0.0254));
    const ImageSize expected{600.0 / each.scale, 300.0 / each.scale};
    for (const char* format : {"png", "jpeg", "tiff"}) {
      const Bytes encoded = written(image, format);
      EXPECT_EQ(codec.decode(encoded)->size(), expected) << each.dotsPerInchX << format;
      EXPECT_EQ(codec.decodeToFit(encoded, 50)->size(), expected) << each.dotsPerInchX << format;
    }
  }
  EXPECT_EQ(codec.decode(written(filled(600, 300, Qt::red), "webp"))->size(),
            (ImageSize{600, 300}));
}

/// Puts the Exif orientation into a JPEG, right behind its start.
Bytes oriented(const Bytes& jpeg, char orientation) {
  using namespace std::string_literals;
  const std::string exif =
      "Exif\0\0MM\0*\0\0\0\x8\0\x1\x1\x12\0\x3\0\0\0\x1\0"s + orientation + "\0\0\0\0\0\0"s;
  const std::string segment = "\xff\xe1\0"s + static_cast<char>(exif.size() + 2) + exif;
  std::string content(jpeg.view());
  return Bytes(content.insert(2, segment));
}

TEST(QtImageCodec, TurnsPhotographsUpright) {
  QtImageCodec codec;
  const Bytes lying = written(flag(2400, 1200), "jpeg");
  for (const int maxDimension : {0, 300}) {
    const auto decoded = [&](const Bytes& encoded) {
      return maxDimension ? codec.decodeToFit(encoded, maxDimension) : codec.decode(encoded);
    };
    const auto image = decoded(oriented(lying, 6));
    ASSERT_TRUE(image);
    EXPECT_EQ(image->size(), (ImageSize{1200, 2400}));
    // What was above is on the right now.
    const auto bitmap = image->draw(150, 300);
    EXPECT_TRUE(isNear(pixel(*bitmap, 20, 150), blue, 8));
    EXPECT_TRUE(isNear(pixel(*bitmap, 130, 150), red, 8));
    const auto upsideDown = decoded(oriented(lying, 3))->draw(300, 150);
    EXPECT_TRUE(isNear(pixel(*upsideDown, 150, 20), blue, 8));
  }
}

double meanDifference(const RgbaBitmap& left, const RgbaBitmap& right) {
  double sum = 0;
  for (std::size_t at = 0; at < left.pixels.size(); ++at) {
    sum += std::abs(left.pixels[at] - right.pixels[at]);
  }
  return sum / static_cast<double>(left.pixels.size());
}

TEST(QtImageCodec, DrawsAFittedImageLikeTheWholeOne) {
  QImage detailed(2001, 1203, QImage::Format_RGB32);
  for (int y = 0; y < detailed.height(); ++y) {
    for (int x = 0; x < detailed.width(); ++x) {
      detailed.setPixel(x, y, qRgb(x * 255 / 2000, (x / 7 + y / 5) % 2 * 255, y * 255 / 1202));
    }
  }
  QtImageCodec codec;
  for (const char* format : {"png", "jpeg"}) {
    const Bytes encoded = written(detailed, format);
    const auto whole = codec.decode(Bytes(std::string(encoded.view())));
    const auto fitted = codec.decodeToFit(encoded, 300);
    for (const auto& [width, height] : {std::pair{299, 180}, {100, 60}}) {
      EXPECT_LT(meanDifference(*whole->draw(width, height), *fitted->draw(width, height)), 8)
          << format;
    }
    EXPECT_EQ(fitted->draw(1000, 601)->pixels, whole->draw(1000, 601)->pixels) << format;
    // Fine detail turns grey; it does not become a coarse pattern.
    EXPECT_TRUE(isNear(pixel(*fitted->draw(10, 6), 5, 3), {140, 128, 150, 255}, 25)) << format;
  }
}

TEST(QtImageCodec, KeepsTransparencyUntilTheJpegWhichIsWhiteThere) {
  QtImageCodec codec;
  const auto image = codec.decode(written(filled(8, 8, QColor(200, 100, 0, 128)), "png"));
  auto bitmap = image->draw(4, 4);
  EXPECT_TRUE(isNear(pixel(*bitmap, 1, 1), {200, 100, 0, 128}, 2));
  for (int at = 3; at < 32; at += 4) bitmap->pixels[at] = 0;
  const auto jpeg = codec.encodeJpeg(*bitmap, 1);
  ASSERT_TRUE(jpeg);
  const auto flat = codec.decode(*jpeg)->draw(4, 4);
  EXPECT_TRUE(isNear(pixel(*flat, 1, 0), {255, 255, 255, 255}, 6));
  EXPECT_TRUE(isNear(pixel(*flat, 1, 3), {227, 177, 127, 255}, 12));
}

TEST(QtImageCodec, ConvertsColoursToSrgb) {
  QImage wide = filled(64, 64, QColor(200, 100, 50));
  wide.setColorSpace(QColorSpace::DisplayP3);
  QtImageCodec codec;
  const Bytes encoded = written(wide, "png");
  // Display P3 (200, 100, 50) by the published matrices.
  const Pixel expected = {215, 93, 31, 255};
  const auto fitted = codec.decodeToFit(encoded, 32);
  EXPECT_TRUE(isNear(pixel(*fitted->draw(32, 32), 9, 9), expected, 3));
  EXPECT_TRUE(isNear(pixel(*fitted->draw(64, 64), 9, 9), expected, 3));
}

TEST(QtImageCodec, WritesBaselineJpegOfTheSizeAndQualityAsked) {
  QtImageCodec codec;
  const auto bitmap = codec.decode(written(flag(299, 53), "png"))->draw(299, 53);
  const auto jpeg = codec.encodeJpeg(*bitmap, 0.7);
  ASSERT_TRUE(jpeg);
  EXPECT_TRUE(jpeg->view().starts_with("\xff\xd8\xff"));
  EXPECT_NE(jpeg->view().find("\xff\xc0"), std::string_view::npos);
  EXPECT_EQ(codec.decode(*jpeg)->size(), (ImageSize{299, 53}));
  EXPECT_LT(jpeg->size(), codec.encodeJpeg(*bitmap, 1.0)->size());
  RgbaBitmap lying = *bitmap;
  lying.height += 1;
  EXPECT_FALSE(codec.encodeJpeg(lying, 0.7));
}

}  // namespace
}  // namespace stowboard
