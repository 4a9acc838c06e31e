// From the encoded bytes of a 3840 × 2160 image to its thumbnail, beside decoding it alone.

#include <benchmark/benchmark.h>

#include <QBuffer>
#include <QImage>
#include <QImageReader>
#include <QImageWriter>
#include <map>
#include <string>

#include "Platform/Qt/QtImageCodec.h"
#include "Services/ThumbnailGenerator.h"

namespace stowboard {
namespace {

constexpr int width = 3840;
constexpr int height = 2160;

enum class Content { screen, photograph };

// Windows with lines of text on a smooth background, or that background with noise.
QImage drawn(Content content, QImage::Format format) {
  QImage image(width, height, format);
  std::uint32_t noise = 1;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      noise = noise * 1664525u + 1013904223u;
      const int grain = content == Content::photograph ? static_cast<int>(noise >> 28) : 0;
      QRgb color = qRgb(x * 200 / width + grain, y * 200 / height + grain, 90 + grain);
      const bool isWindow = content == Content::screen && x % 960 > 80 && y % 720 > 60;
      if (isWindow)
        color = y % 20 < 12 && (noise >> 30) == 0 ? qRgb(30, 30, 30) : qRgb(250, 250, 250);
      image.setPixel(x, y, color);
    }
  }
  return image;
}

Bytes encoded(const QImage& image, const char* format) {
  QBuffer buffer;
  buffer.open(QIODevice::WriteOnly);
  QImageWriter(&buffer, format).write(image);
  return Bytes(buffer.data().toStdString());
}

struct Picture {
  const char* format;
  Content content;
  QImage::Format pixels;
};

const Picture pictures[] = {
    {"png", Content::screen, QImage::Format_RGB32},
    {"png", Content::screen, QImage::Format_ARGB32},
    {"png", Content::photograph, QImage::Format_RGB32},
    {"tiff", Content::photograph, QImage::Format_RGB32},
    {"jpeg", Content::photograph, QImage::Format_RGB32},
};

const Bytes& picture(int number) {
  static std::map<int, Bytes> made;
  auto& bytes = made[number];
  if (bytes.empty()) {
    bytes =
        encoded(drawn(pictures[number].content, pictures[number].pixels), pictures[number].format);
  }
  return bytes;
}

void describe(benchmark::State& state) {
  const auto number = static_cast<int>(state.range(0));
  state.SetLabel(std::string(pictures[number].format) +
                 (pictures[number].content == Content::screen ? " screen" : " photograph") +
                 (pictures[number].pixels == QImage::Format_ARGB32 ? " with alpha" : "") + ", " +
                 std::to_string(picture(number).size() >> 10) + " KiB");
}

void BM_DecodeAlone(benchmark::State& state) {
  const Bytes& bytes = picture(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    const auto content = QByteArray::fromRawData(bytes.view().data(), bytes.view().size());
    QBuffer buffer;
    buffer.setData(content);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    reader.setAutoTransform(true);
    benchmark::DoNotOptimize(reader.read());
  }
  describe(state);
}
BENCHMARK(BM_DecodeAlone)->DenseRange(0, 4)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_Thumbnail(benchmark::State& state) {
  const Bytes& bytes = picture(static_cast<int>(state.range(0)));
  QtImageCodec codec;
  const ThumbnailGenerator generator(codec);
  for (auto _ : state) {
    const auto image = codec.decodeToFit(bytes, ThumbnailGenerator::maxDimension);
    if (!generator.thumbnailData(*image)) state.SkipWithError("no thumbnail");
  }
  describe(state);
}
BENCHMARK(BM_Thumbnail)->DenseRange(0, 4)->Unit(benchmark::kMillisecond)->UseRealTime();

// The main thread's share, once the image is prepared elsewhere.
void BM_ThumbnailOfPreparedImage(benchmark::State& state) {
  const Bytes& bytes = picture(static_cast<int>(state.range(0)));
  QtImageCodec codec;
  const ThumbnailGenerator generator(codec);
  const auto prepared = codec.decodeToFit(bytes, ThumbnailGenerator::maxDimension);
  for (auto _ : state) {
    const auto image = codec.decode(bytes);
    if (!generator.thumbnailData(*image)) state.SkipWithError("no thumbnail");
  }
  describe(state);
}
BENCHMARK(BM_ThumbnailOfPreparedImage)->DenseRange(0, 4)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace stowboard

BENCHMARK_MAIN();
